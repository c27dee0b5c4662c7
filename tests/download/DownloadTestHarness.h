#pragma once

#include "app/records/WatchFirmware.h"
#include "download/DownloadManager.h"
#include "download/ResumeRecord.h"
#include "support/FakeTools.h"
#include "support/LocalHttpServer.h"
#include "support/TestPaths.h"
#include "tools/ToolLocator.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QTest>
#include <QThread>

#include <csignal>
#include <memory>
#include <sys/resource.h>

// What one caller's completion saw.
struct CompletionLog {
    int calls = 0;
    bool alwaysOnGuiThread = true;
    std::optional<Result<QString>> last;
};

// A manager on private folders, a real server and a shasum that computes real digests while
// recording how it was called; every status the manager publishes is collected in order.
struct DownloadTestHarness {
    TestPaths paths;
    LocalHttpServer server;
    DownloadManager manager;
    QStringList statuses;

    explicit DownloadTestHarness(LocalHttpServer::Transport transport = LocalHttpServer::Transport::plain)
        : server(transport)
    {
        if (transport == LocalHttpServer::Transport::tls)
            LocalHttpServer::trustTestCertificate();
        FakeTools::write(paths.shasum(), FakeToolBehaviour::running("exec /usr/bin/shasum \"$@\""));
        QObject::connect(&manager, &DownloadManager::statusTextChanged,
                         [this] { statuses << manager.statusText(); });
    }

    static QString cache() { return ToolLocator::cacheDirectory(); }
    static QString cached(const QString &name) { return QDir(cache()).filePath(name); }
    // Everything in the cache folder, hidden entries included.
    static QStringList cacheListing()
    {
        return QDir(cache()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                       QDir::Name);
    }

    WatchFirmware firmware(const QString &path, const QString &sha256 = {}) const
    {
        WatchFirmware firmware;
        firmware.productType = QStringLiteral("Watch6,1");
        firmware.downloadURL = server.url(path);
        firmware.filename = firmware.downloadURL.fileName();
        firmware.sha256 = sha256;
        return firmware;
    }

    static DownloadCompletion recorder(const std::shared_ptr<CompletionLog> &log)
    {
        return [log](const Result<QString> &result) {
            ++log->calls;
            log->alwaysOnGuiThread &= QThread::currentThread() == QCoreApplication::instance()->thread();
            log->last = result;
        };
    }

    std::shared_ptr<CompletionLog> start(const WatchFirmware &firmware)
    {
        auto log = std::make_shared<CompletionLog>();
        manager.start(firmware, recorder(log));
        return log;
    }

    // Starts a download and waits for its completion; one that never comes is a failure too.
    Result<QString> download(const WatchFirmware &firmware)
    {
        const auto log = start(firmware);
        if (!QTest::qWaitFor([&] { return log->calls > 0; }, 30000))
            return Failure::platform(Failure::Domain::process, QStringLiteral("no completion in 30 s"));
        return *log->last;
    }

    // What the user is shown once a download ended: the status, the error text (empty when there
    // is none), and what the caller received: the image's path or the failure's description.
    QStringList shown(const Result<QString> &result) const
    {
        return {manager.statusText(), manager.errorText().value_or(QString()),
                result.ok() ? result.value() : result.failure().description()};
    }
    static QStringList failed(const QString &status, const QString &description)
    {
        return {status, description, description};
    }
    static QStringList succeeded(const QString &name)
    {
        return {QStringLiteral("Загрузка и проверка завершены"), QString(), cached(name)};
    }
};

inline QByteArray patternBody(qsizetype size)
{
    QByteArray body(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i)
        body[i] = char((i * 131 + i / 977) & 0xff);
    return body;
}

inline QString sha256Hex(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

inline QByteArray fileContents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline bool waitForCalls(const CompletionLog &log, int calls = 1)
{
    return QTest::qWaitFor([&] { return log.calls >= calls; }, 30000);
}

// Serves `body` with ranges and an ETag.
inline HttpResponse rangedResponse(const QByteArray &body, const QByteArray &etag = "\"v1\"",
                                   qint64 bytesPerSecond = 0)
{
    HttpResponse response = HttpResponse::ok(body);
    response.acceptRanges = true;
    response.bytesPerSecond = bytesPerSecond;
    response.headers = {{"ETag", etag}};
    return response;
}

// The first byte a request asked for: 0 without a Range header.
inline qint64 rangeStart(const HttpRequest &request)
{
    const QByteArray range = request.header("range");
    return range.startsWith("bytes=") ? range.mid(6, range.indexOf('-') - 6).toLongLong() : 0;
}

inline QStringList partialListing()
{
    return QDir(PartialDownloads::folder()).entryList(QDir::Files | QDir::Hidden);
}

// Limits the size of every file this process writes, as a full disk would, while it lives.
struct FileSizeLimit {
    rlimit original{};
    explicit FileSizeLimit(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &original);
        rlimit limited = original;
        limited.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &original); }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;
};
