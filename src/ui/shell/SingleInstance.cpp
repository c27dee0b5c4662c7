#include "ui/shell/SingleInstance.h"

#include "tools/SystemPaths.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLoggingCategory>
#include <QThread>

namespace {

Q_LOGGING_CATEGORY(instanceLog, "corvalin.instance", QtWarningMsg)

// One line from the later start: the file it was given, percent-encoded, possibly empty. One
// line back: "ok".
constexpr char reply[] = "ok\n";
constexpr int maximumRequest = 64 * 1024;
// A first copy may hold the lock a moment before it listens; a later start waits that long.
constexpr int connectWindowMs = 3000;
constexpr int connectRetryMs = 100;
constexpr int answerMs = 3000;

} // namespace

SingleInstance::SingleInstance(const QString &folder, QObject *parent)
    : QObject(parent), m_folder(folder), m_lock(QDir(folder).filePath(QStringLiteral("instance.lock")))
{
    // Only a dead owner frees the lock: a copy may run for days.
    m_lock.setStaleLockTime(0);
}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::defaultFolder()
{
    return QDir(SystemPaths::applicationSupportFolder()).filePath(QStringLiteral("Corvalin Studio"));
}

SingleInstance::Claim SingleInstance::claim(const QString &file)
{
    QDir().mkpath(m_folder);
    if (m_lock.tryLock(0)) {
        if (!listen())
            qCWarning(instanceLog) << "Later starts cannot reach this copy:" << m_server->errorString();
        return Claim::first;
    }
    if (m_lock.error() != QLockFile::LockFailedError) {
        // The folder is not writable: nothing can tell copies apart, so this one runs.
        qCWarning(instanceLog) << "No instance lock in" << m_folder;
        return Claim::first;
    }
    return handOver(file) ? Claim::handedOver : Claim::unreachable;
}

bool SingleInstance::listen()
{
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    const QString name = QDir(m_folder).filePath(QStringLiteral("instance.socket"));
    // Holding the lock, this copy owns the name; a socket left there by a crashed copy goes.
    QLocalServer::removeServer(name);
    connect(m_server, &QLocalServer::newConnection, this, &SingleInstance::serve);
    return m_server->listen(name);
}

void SingleInstance::serve()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine()) {
                if (socket->bytesAvailable() > maximumRequest)
                    socket->abort();
                return;
            }
            const QString file =
                QString::fromUtf8(QByteArray::fromPercentEncoding(socket->readLine().trimmed()));
            socket->write(reply);
            socket->disconnectFromServer();
            emit activationRequested(file);
        });
    }
}

bool SingleInstance::handOver(const QString &file) const
{
    const QString name = QDir(m_folder).filePath(QStringLiteral("instance.socket"));
    const QDeadlineTimer deadline(connectWindowMs);
    QLocalSocket socket;
    for (;;) {
        socket.connectToServer(name);
        if (socket.waitForConnected(connectRetryMs))
            break;
        if (deadline.hasExpired())
            return false;
        QThread::msleep(connectRetryMs);
    }
    // Percent-encoded, so that any file name fits on the one line.
    socket.write(file.toUtf8().toPercentEncoding() + '\n');
    if (!socket.waitForBytesWritten(answerMs))
        return false;
    QByteArray answer;
    while (!answer.endsWith('\n') && socket.waitForReadyRead(answerMs))
        answer += socket.readAll();
    return answer == reply;
}
