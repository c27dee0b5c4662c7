#include "Bench.h"

#include "download/DownloadManager.h"
#include "download/ResumeRecord.h"
#include "support/FakeTools.h"
#include "support/LocalHttpServer.h"
#include "support/TestPaths.h"

#include <QCryptographicHash>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>

#include <cstring>
#include <ctime>
#include <memory>
#include <optional>

#include <pthread.h>
#include <sys/resource.h>

namespace {

constexpr qint64 mebibyte = 1024 * 1024;
constexpr qint64 imageSize = qint64(1) << 30;
// Every side of a comparison runs this many rounds and keeps its best.
const int rounds = qEnvironmentVariableIsSet("CORVALIN_BENCH_ROUNDS")
                       ? qEnvironmentVariableIntValue("CORVALIN_BENCH_ROUNDS")
                       : 3;
const int limitedRounds = qMin(rounds, 2);
constexpr qint64 perConnectionLimit = 20 * mebibyte;
const QString imageName = QStringLiteral("Watch6,1_Restore.ipsw");
const QByteArray imageTag = "\"bench-1\"";

// Writes `size` bytes of incompressible data and returns their SHA-256 digest.
QString writeImage(const QString &path, qint64 size)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        qFatal("Cannot write %s", qPrintable(path));
    QByteArray block(4 * 1024 * 1024, Qt::Uninitialized);
    QRandomGenerator generator(20240601);
    generator.fillRange(reinterpret_cast<quint32 *>(block.data()), block.size() / 4);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (qint64 written = 0, index = 0; written < size; written += block.size(), ++index) {
        std::memcpy(block.data(), &index, sizeof index); // no two blocks alike
        file.write(block);
        hash.addData(block);
    }
    return QString::fromLatin1(hash.result().toHex());
}

double cpuSeconds(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

double usageSeconds(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// The local test server on a thread of its own, so that serving does not compete with the
// manager for its event loop, and with its CPU time measurable apart from the clients'.
class ServerThread {
public:
    ServerThread(LocalHttpServer::Transport transport, const HttpResponse &response)
    {
        m_thread.start();
        auto *context = new QObject;
        context->moveToThread(&m_thread);
        QMetaObject::invokeMethod(
            context,
            [&] {
                m_server = new LocalHttpServer(transport);
                m_server->setResponse(QLatin1Char('/') + imageName, response);
                pthread_getcpuclockid(pthread_self(), &m_clock);
            },
            Qt::BlockingQueuedConnection);
        context->deleteLater();
    }
    ~ServerThread()
    {
        QMetaObject::invokeMethod(
            m_server, [this] { delete m_server; }, Qt::BlockingQueuedConnection);
        m_thread.quit();
        m_thread.wait();
    }
    ServerThread(const ServerThread &) = delete;
    ServerThread &operator=(const ServerThread &) = delete;

    void setResponse(const HttpResponse &response)
    {
        QMetaObject::invokeMethod(
            m_server, [&] { m_server->setResponse(QLatin1Char('/') + imageName, response); },
            Qt::BlockingQueuedConnection);
    }
    QUrl url() const { return m_server->url(QLatin1Char('/') + imageName); }
    qint64 bodyBytesSent() const { return m_server->bodyBytesSent(); }
    double cpu() const { return cpuSeconds(m_clock); }

private:
    QThread m_thread;
    LocalHttpServer *m_server = nullptr;
    clockid_t m_clock{};
};

// Kibibytes from a line of /proc/self/status such as "VmHWM:  123 kB"; 0 elsewhere.
qint64 statusKiB(const QByteArray &field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(field + ':'))
            return line.mid(field.size() + 1).trimmed().split(' ').value(0).toLongLong();
    }
    return 0;
}

// Lets VmHWM measure the peak from now on (Linux).
void resetPeakResidentMemory()
{
    QFile clearRefs(QStringLiteral("/proc/self/clear_refs"));
    if (clearRefs.open(QIODevice::WriteOnly))
        clearRefs.write("5");
}

struct Run {
    double seconds = 1e9;
    double cpuSeconds = 1e9;
    bool ok = true;
    double residentGrowthMiB = 0;

    // Keeps the better time and the better CPU figure of two rounds, and any failure.
    void keepBest(const Run &other)
    {
        seconds = qMin(seconds, other.seconds);
        cpuSeconds = qMin(cpuSeconds, other.cpuSeconds);
        ok &= other.ok;
        residentGrowthMiB = qMax(residentGrowthMiB, other.residentGrowthMiB);
    }
    double mebibytesPerSecond() const { return double(imageSize) / double(mebibyte) / seconds; }
    double cpuPerGiB() const { return cpuSeconds * double(qint64(1) << 30) / double(imageSize); }
};

double secondsOf(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e9;
}

// A download tool run to the end, then shasum -a 256 of what it wrote: what a technician would
// do by hand.
Run downloadWithTool(const QString &program, const QStringList &arguments, const QString &output,
                     const QString &digest)
{
    Run run;
    const double childrenBefore = usageSeconds(RUSAGE_CHILDREN);
    QElapsedTimer timer;
    timer.start();
    const int status = QProcess::execute(program, arguments);
    QProcess shasum;
    shasum.start(QStringLiteral("/usr/bin/shasum"), {QStringLiteral("-a"), QStringLiteral("256"), output});
    shasum.waitForFinished(-1);
    run.seconds = secondsOf(timer);
    run.cpuSeconds = usageSeconds(RUSAGE_CHILDREN) - childrenBefore;
    run.ok = status == 0 && shasum.readAllStandardOutput().startsWith(digest.toLatin1());
    QFile::remove(output);
    return run;
}

Run downloadWithCurl(const ServerThread &server, const QString &output, const QString &digest)
{
    return downloadWithTool(QStringLiteral("curl"),
                            {QStringLiteral("-sS"), QStringLiteral("--cacert"),
                             LocalHttpServer::testCertificatePath(), QStringLiteral("-o"), output,
                             server.url().toString()},
                            output, digest);
}

// aria2c on 16 connections with 1 MiB pieces: the fastest common tool for a server that limits
// each connection. Nothing when aria2c is not installed.
std::optional<Run> downloadWithAria2(const ServerThread &server, const QString &output, const QString &digest)
{
    const QString aria2 = QStandardPaths::findExecutable(QStringLiteral("aria2c"));
    if (aria2.isEmpty())
        return std::nullopt;
    const QFileInfo target(output);
    return downloadWithTool(aria2,
                            {QStringLiteral("-q"), QStringLiteral("-x16"), QStringLiteral("-s16"),
                             QStringLiteral("-k1M"), QStringLiteral("--file-allocation=none"),
                             QStringLiteral("--allow-overwrite=true"), QStringLiteral("-d"), target.path(),
                             QStringLiteral("-o"), target.fileName(), server.url().toString()},
                            output, digest);
}

WatchFirmware benchFirmware(const QUrl &url, const QString &sha256)
{
    WatchFirmware firmware;
    firmware.productType = QStringLiteral("Watch6,1");
    firmware.downloadURL = url;
    firmware.filename = imageName;
    firmware.sha256 = sha256;
    firmware.size = imageSize;
    return firmware;
}

// One start of the manager, verification included; the CPU of the server's thread is not counted.
Run downloadWithManager(const ServerThread &server, const QString &digest, bool keepFile = false)
{
    DownloadManager manager;
    const qint64 baseline = statusKiB("VmRSS");
    resetPeakResidentMemory();
    const double processBefore = usageSeconds(RUSAGE_SELF);
    const double childrenBefore = usageSeconds(RUSAGE_CHILDREN);
    const double serverBefore = server.cpu();
    Run run;
    QEventLoop loop;
    QElapsedTimer timer;
    timer.start();
    manager.start(benchFirmware(server.url(), digest), [&](const Result<QString> &result) {
        run.seconds = secondsOf(timer);
        run.ok = result.ok();
        if (result.ok() && !keepFile)
            QFile::remove(result.value());
        loop.quit();
    });
    loop.exec();
    run.cpuSeconds = (usageSeconds(RUSAGE_SELF) - processBefore) - (server.cpu() - serverBefore) +
                     (usageSeconds(RUSAGE_CHILDREN) - childrenBefore);
    run.residentGrowthMiB = double(statusKiB("VmHWM") - baseline) / 1024.0;
    return run;
}

// The served image, a private cache folder and a real shasum, for one benchmark.
struct BenchSetup {
    QTemporaryDir work;
    TestPaths paths;
    QString served;
    QString digest;
    QString curlOutput;

    BenchSetup()
    {
        served = QDir(work.path()).filePath(imageName);
        digest = writeImage(served, imageSize);
        curlOutput = QDir(work.path()).filePath(QStringLiteral("curl.ipsw"));
        FakeToolBehaviour realDigest;
        realDigest.extraShell = "exec /usr/bin/shasum \"$@\"";
        FakeTools::write(paths.shasum(), realDigest);
    }

    HttpResponse response(qint64 bytesPerSecond = 0) const
    {
        HttpResponse response;
        response.bodyFile = served;
        response.acceptRanges = true;
        response.bytesPerSecond = bytesPerSecond;
        response.headers = {{"ETag", imageTag}};
        return response;
    }
};

// Both clients against the same server, alternating, each keeping its best of `count` rounds.
std::pair<Run, Run> compare(const BenchSetup &setup, const ServerThread &server, int count)
{
    Run curl;
    Run manager;
    for (int round = 0; round < count; ++round) {
        curl.keepBest(downloadWithCurl(server, setup.curlOutput, setup.digest));
        const Run run = downloadWithManager(server, setup.digest);
        manager.keepBest(run);
        manager.residentGrowthMiB = qMax(manager.residentGrowthMiB, run.residentGrowthMiB);
    }
    if (!curl.ok || !manager.ok)
        QTextStream(stdout) << "a download failed or came out wrong" << Qt::endl;
    return {curl, manager};
}

void reportComparison(const Run &curl, const Run &manager)
{
    Bench::report(QStringLiteral("curl -o + shasum, best round"), curl.mebibytesPerSecond(),
                  QStringLiteral("MiB/s"));
    Bench::report(QStringLiteral("manager with verification, best round"), manager.mebibytesPerSecond(),
                  QStringLiteral("MiB/s"));
    Bench::report(QStringLiteral("throughput, manager / curl"),
                  manager.mebibytesPerSecond() / curl.mebibytesPerSecond(), QStringLiteral("x"));
}

} // namespace

// A server that limits each connection, as some CDNs do: several connections on ranges pay off.
CORVALIN_BENCHMARK(downloadRateLimitedPerConnection)
{
    BenchSetup setup;
    ServerThread server(LocalHttpServer::Transport::plain, setup.response(perConnectionLimit));
    const auto [curl, manager] = compare(setup, server, limitedRounds);
    Bench::report(QStringLiteral("limit per connection"), double(perConnectionLimit) / double(mebibyte),
                  QStringLiteral("MiB/s"));
    reportComparison(curl, manager);
    Bench::report(QStringLiteral("manager peak resident growth, worst round"), manager.residentGrowthMiB,
                  QStringLiteral("MiB"));
    std::optional<Run> aria2;
    for (int round = 0; round < limitedRounds; ++round) {
        if (const std::optional<Run> run = downloadWithAria2(server, setup.curlOutput, setup.digest))
            aria2 ? aria2->keepBest(*run) : void(aria2 = run);
    }
    if (!aria2)
        return;
    if (!aria2->ok)
        QTextStream(stdout) << "the aria2c download failed or came out wrong" << Qt::endl;
    Bench::report(QStringLiteral("aria2c -x16 -s16 -k1M + shasum, best round"), aria2->mebibytesPerSecond(),
                  QStringLiteral("MiB/s"));
    Bench::report(QStringLiteral("throughput, manager / aria2c"),
                  manager.mebibytesPerSecond() / aria2->mebibytesPerSecond(), QStringLiteral("x"));
}

// No limit: the manager must keep up with curl, and stream to disk without holding the file.
CORVALIN_BENCHMARK(downloadUnlimited)
{
    BenchSetup setup;
    ServerThread server(LocalHttpServer::Transport::plain, setup.response());
    const auto [curl, manager] = compare(setup, server, rounds);
    reportComparison(curl, manager);
    Bench::report(QStringLiteral("manager peak resident growth, worst round"), manager.residentGrowthMiB,
                  QStringLiteral("MiB"));
}

// The real links are https: throughput and CPU per GiB against curl over TLS.
CORVALIN_BENCHMARK(downloadUnlimitedTls)
{
    BenchSetup setup;
    LocalHttpServer::trustTestCertificate();
    ServerThread server(LocalHttpServer::Transport::tls, setup.response());
    const auto [curl, manager] = compare(setup, server, rounds);
    reportComparison(curl, manager);
    Bench::report(QStringLiteral("curl + shasum CPU per GiB, best round"), curl.cpuPerGiB(),
                  QStringLiteral("s"));
    Bench::report(QStringLiteral("manager CPU per GiB (verification included), best round"),
                  manager.cpuPerGiB(), QStringLiteral("s"));
    Bench::report(QStringLiteral("CPU per GiB, manager / curl"), manager.cpuPerGiB() / curl.cpuPerGiB(),
                  QStringLiteral("x"));
}

// The server drops the connection at 60 %: the next start fetches only what is missing.
CORVALIN_BENCHMARK(downloadResumedAfterDrop)
{
    BenchSetup setup;
    HttpResponse dropping = setup.response(perConnectionLimit);
    dropping.dropAfterTotalBytes = imageSize * 6 / 10;
    ServerThread server(LocalHttpServer::Transport::plain, dropping);

    const Run interrupted = downloadWithManager(server, setup.digest);
    const std::optional<ResumeRecord> record = PartialDownloads::load(server.url());
    const qint64 held = record ? record->held() : 0;
    qint64 largestRange = 0;
    if (record) {
        for (const Segment &segment : record->segments)
            largestRange = qMax(largestRange, segment.end - segment.start);
    }

    server.setResponse(setup.response(perConnectionLimit));
    const qint64 sentBefore = server.bodyBytesSent();
    const Run resumed = downloadWithManager(server, setup.digest);
    const qint64 sentAgain = server.bodyBytesSent() - sentBefore;
    if (interrupted.ok || !resumed.ok)
        QTextStream(stdout) << "the interruption or the resumed download did not behave" << Qt::endl;

    const double toMiB = 1.0 / double(mebibyte);
    Bench::report(QStringLiteral("held after the drop"), double(held) * toMiB, QStringLiteral("MiB"));
    Bench::report(QStringLiteral("ranges in the record"), record ? double(record->segments.size()) : 0,
                  QStringLiteral(""));
    Bench::report(QStringLiteral("largest range"), double(largestRange) * toMiB, QStringLiteral("MiB"));
    Bench::report(QStringLiteral("transferred by the resumed start"), double(sentAgain) * toMiB,
                  QStringLiteral("MiB"));
    Bench::report(QStringLiteral("beyond the missing 40 %"), double(sentAgain - imageSize * 4 / 10) * toMiB,
                  QStringLiteral("MiB"));
}
