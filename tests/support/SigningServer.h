#pragma once

#include <QByteArray>
#include <QList>
#include <QPointer>
#include <QSslSocket>

#include <memory>
#include <utility>

// A stand-in for Apple's signing server (TSS) on 127.0.0.1, reached by the real tools through
// the proxy variables of the environment the application passes on to them: libcurl sends
// idevicerestore's requests for gs.apple.com here, as a proxy, instead of to Apple.
//
// libtatsu asks over https first. The stand-in grants the tunnel and speaks TLS itself, with a
// test certificate for the signing server's host names (libtatsu does not verify the issuer, but
// libcurl still checks the name), so the first attempt gets the answer. Refusing the tunnel
// would also work, but libtatsu pauses two seconds after each of its three https attempts before
// it tries plain http. Plain-http requests are answered the same way.
//
// For the life of the object, http_proxy and https_proxy of this process point here, no_proxy
// exempts 127.0.0.1 (the application's own local servers), and the previous values come back
// afterwards.
class SigningServer {
public:
    enum class Answer {
        tickets, // STATUS=0: a ticket for every request
        refusal, // STATUS=94: the device is not eligible for the build
    };

    // One request as idevicerestore sent it: the values of the watch it describes.
    struct Request {
        quint64 ecid = 0;
        QByteArray apNonce;     // decoded
        QByteArray versionInfo; // the client's version, as libtatsu names itself
    };

    explicit SigningServer(Answer answer = Answer::tickets);
    ~SigningServer();
    SigningServer(const SigningServer &) = delete;
    SigningServer &operator=(const SigningServer &) = delete;

    void setAnswer(Answer answer) { m_answer = answer; }
    // While held, requests are kept waiting without an answer (idevicerestore keeps the watch
    // open meanwhile); releasing answers the waiting ones.
    void holdAnswers(bool hold);
    // The signing requests received so far, in order.
    const QList<Request> &requests() const { return m_requests; }

private:
    class Listener;
    void received(QSslSocket *socket, const QByteArray &body);
    void answer(QSslSocket *socket) const;

    std::unique_ptr<Listener> m_listener;
    Answer m_answer;
    bool m_holding = false;
    QList<QPointer<QSslSocket>> m_waiting;
    QList<Request> m_requests;
    QList<std::pair<QByteArray, QByteArray>> m_savedEnvironment; // name, value (empty: unset)
};
