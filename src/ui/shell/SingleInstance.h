#pragma once

#include <QLockFile>
#include <QObject>
#include <QString>

class QLocalServer;

// Keeps one running copy of the application per user. The first start holds a lock file and
// listens on a local socket beside it, both in the application's data folder; a later start
// finds the lock taken, hands its file argument (if any) to the first copy over the socket and
// leaves. The lock records its owner, so the lock of a copy that crashed is taken over.
class SingleInstance final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SingleInstance)

public:
    enum class Claim {
        first,       // this copy runs; activationRequested reports later starts
        handedOver,  // another copy runs and has received the request
        unreachable, // another copy holds the lock but did not answer
    };

    // `folder` holds the lock and the socket; it is created if missing.
    explicit SingleInstance(const QString &folder, QObject *parent = nullptr);
    ~SingleInstance() override;

    // Takes the lock, or asks the copy holding it to come to the front and take `file` (empty
    // for none). Blocks for at most a few seconds while another copy starts up.
    Claim claim(const QString &file);

    // The application's own data folder.
    static QString defaultFolder();

signals:
    // In the first copy: a later start asked for the window, giving `file` (empty for none).
    void activationRequested(const QString &file);

private:
    bool listen();
    bool handOver(const QString &file) const;
    void serve();

    QString m_folder;
    QLockFile m_lock;
    QLocalServer *m_server = nullptr;
};
