#include "download/CurlFailure.h"

#include <QCoreApplication>
#include <QNetworkReply>
#include <QSslError>
#include <QUrl>

namespace {

Failure network(QNetworkReply::NetworkError error, const QString &description)
{
    return Failure::platform(Failure::Domain::network, description, int(error));
}

QString qhttp(const char *text)
{
    return QCoreApplication::translate("QHttp", text);
}

// OpenSSL's verdict on the server's certificate, as Qt names it.
QSslError::SslError certificateError(long verdict)
{
    switch (verdict) {
    case 9: return QSslError::CertificateNotYetValid;
    case 10: return QSslError::CertificateExpired;
    case 18: return QSslError::SelfSignedCertificate;
    case 19: return QSslError::SelfSignedCertificateInChain;
    case 20: return QSslError::UnableToGetLocalIssuerCertificate;
    case 21: return QSslError::UnableToVerifyFirstCertificate;
    case 23: return QSslError::CertificateRevoked;
    case 0: return QSslError::HostNameMismatch; // the chain was fine, the name was not
    default: return QSslError::CertificateUntrusted;
    }
}

QString host(CURL *handle)
{
    char *url = nullptr;
    if (handle && curl_easy_getinfo(handle, CURLINFO_EFFECTIVE_URL, &url) == CURLE_OK && url)
        return QUrl(QString::fromUtf8(url)).host();
    return {};
}

} // namespace

namespace CurlFailure {

Failure cancelled()
{
    return network(QNetworkReply::OperationCanceledError,
                   QCoreApplication::translate("QNetworkReplyHttpImpl", "Operation canceled"));
}

Failure describe(CURLcode code, CURL *handle)
{
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
        return network(QNetworkReply::HostNotFoundError, qhttp("Host %1 not found").arg(host(handle)));
    case CURLE_COULDNT_CONNECT:
        return network(QNetworkReply::ConnectionRefusedError, qhttp("Connection refused"));
    case CURLE_OPERATION_TIMEDOUT: return Failure::networkTimeout(QNetworkReply::TimeoutError);
    case CURLE_GOT_NOTHING:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_PARTIAL_FILE: return network(QNetworkReply::RemoteHostClosedError, qhttp("Connection closed"));
    case CURLE_TOO_MANY_REDIRECTS:
        return network(QNetworkReply::TooManyRedirectsError, qhttp("Too many redirects"));
    case CURLE_UNSUPPORTED_PROTOCOL:
        // Only a redirect from https down to plain http gets here: the links are http(s).
        return network(QNetworkReply::InsecureRedirectError, qhttp("Insecure redirect"));
    case CURLE_PEER_FAILED_VERIFICATION: {
        long verdict = 0;
        if (handle)
            curl_easy_getinfo(handle, CURLINFO_SSL_VERIFYRESULT, &verdict);
        return network(QNetworkReply::SslHandshakeFailedError,
                       qhttp("SSL handshake failed") + QStringLiteral(": ") +
                           QSslError(certificateError(verdict)).errorString());
    }
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
        return network(QNetworkReply::SslHandshakeFailedError, qhttp("SSL handshake failed"));
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_WEIRD_SERVER_REPLY: return network(QNetworkReply::ProtocolFailure, qhttp("Data corrupted"));
    default:
        // Qt's own text for this case has no translation.
        return network(QNetworkReply::UnknownNetworkError,
                       QCoreApplication::translate("QIODevice", "Unknown error"));
    }
}

} // namespace CurlFailure
