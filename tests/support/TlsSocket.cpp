#include "support/TlsSocket.h"

#include <QFile>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslSocket>

QByteArray supportData(const char *name)
{
    QFile file(QStringLiteral(CORVALIN_SUPPORT_DATA "/") + QLatin1String(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("Missing test data %s", name);
    return file.readAll();
}

QSslSocket *adoptTlsSocket(QObject *parent, qintptr descriptor, const char *certificate, const char *key)
{
    auto *socket = new QSslSocket(parent);
    if (!socket->setSocketDescriptor(descriptor)) {
        delete socket;
        return nullptr;
    }
    socket->setLocalCertificate(QSslCertificate(supportData(certificate)));
    socket->setPrivateKey(QSslKey(supportData(key), QSsl::Rsa));
    return socket;
}
