#include "Bench.h"

#include "download/DownloadManager.h"
#include "support/FakeTools.h"
#include "support/TestPaths.h"

#include <QCryptographicHash>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTextStream>

#include <cstring>
#include <optional>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#ifdef Q_OS_LINUX
#include <sys/sendfile.h>
#endif

namespace {

constexpr qint64 imageSize = qint64(1) << 30;
constexpr int rounds = 3;
const QString imageName = QStringLiteral("Watch6,1_Restore.ipsw");

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

// Hands the whole file to the socket: Linux lets the kernel copy it, elsewhere a plain loop.
bool sendWholeFile(int client, int file, qint64 size)
{
#ifdef Q_OS_LINUX
    off_t offset = 0;
    while (offset < size) {
        if (::sendfile(client, file, &offset, size_t(size - offset)) <= 0)
            return false;
    }
    return true;
#else
    std::vector<char> buffer(1 << 20);
    for (qint64 sent = 0; sent < size;) {
        const ssize_t read = ::read(file, buffer.data(), buffer.size());
        if (read <= 0)
            return false;
        for (ssize_t written = 0; written < read;) {
            const ssize_t now = ::send(client, buffer.data() + written, size_t(read - written), 0);
            if (now <= 0)
                return false;
            written += now;
        }
        sent += read;
    }
    return true;
#endif
}

// A minimal HTTP/1.1 file server on its own thread that leaves the copying to the kernel where
// it can, so serving costs little CPU and both clients are measured, not the server.
class SendfileServer {
public:
    explicit SendfileServer(QString path) : m_path(std::move(path))
    {
        m_listener = ::socket(AF_INET, SOCK_STREAM, 0);
        const int yes = 1;
        ::setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(m_listener, reinterpret_cast<sockaddr *>(&address), sizeof address);
        ::listen(m_listener, 8);
        socklen_t length = sizeof address;
        ::getsockname(m_listener, reinterpret_cast<sockaddr *>(&address), &length);
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this] { serve(); });
    }
    ~SendfileServer()
    {
        ::shutdown(m_listener, SHUT_RDWR);
        ::close(m_listener);
        m_thread.join();
    }
    SendfileServer(const SendfileServer &) = delete;
    SendfileServer &operator=(const SendfileServer &) = delete;

    quint16 port() const { return m_port; }

private:
    void serve()
    {
        for (;;) {
            const int client = ::accept(m_listener, nullptr, nullptr);
            if (client < 0)
                return;
            answer(client);
            ::close(client);
        }
    }

    void answer(int client)
    {
        QByteArray head;
        char buffer[4096];
        while (!head.contains("\r\n\r\n")) {
            const ssize_t received = ::recv(client, buffer, sizeof buffer, 0);
            if (received <= 0)
                return;
            head.append(buffer, received);
        }
        const int file = ::open(QFile::encodeName(m_path).constData(), O_RDONLY);
        if (file < 0)
            return;
        struct stat info {};
        ::fstat(file, &info);
        const QByteArray response = "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " +
                                    QByteArray::number(qint64(info.st_size)) + "\r\n\r\n";
        if (::send(client, response.constData(), size_t(response.size()), 0) == response.size())
            sendWholeFile(client, file, qint64(info.st_size));
        ::close(file);
    }

    QString m_path;
    int m_listener = -1;
    quint16 m_port = 0;
    std::thread m_thread;
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

double secondsOf(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e9;
}

double mebibytesPerSecond(double seconds)
{
    return double(imageSize) / (1024.0 * 1024.0) / seconds;
}

struct ManagerRun {
    double seconds = 0;
    bool ok = false;
    double residentGrowthMiB = 0;
};

ManagerRun downloadWithManager(const QUrl &url, const QString &sha256)
{
    DownloadManager manager;
    WatchFirmware firmware;
    firmware.productType = QStringLiteral("Watch6,1");
    firmware.downloadURL = url;
    firmware.filename = imageName;
    firmware.sha256 = sha256;

    const qint64 baseline = statusKiB("VmRSS");
    resetPeakResidentMemory();
    ManagerRun run;
    QEventLoop loop;
    QElapsedTimer timer;
    timer.start();
    manager.start(firmware, [&](const Result<QString> &result) {
        run.seconds = secondsOf(timer);
        run.ok = result.ok();
        if (result.ok())
            QFile::remove(result.value());
        loop.quit();
    });
    loop.exec();
    run.residentGrowthMiB = double(statusKiB("VmHWM") - baseline) / 1024.0;
    return run;
}

} // namespace

// Throughput of one large download against curl on the same local server, and the manager's
// memory: the image must stream to disk, never into memory.
CORVALIN_BENCHMARK(downloadManagerVersusCurl)
{
    QTemporaryDir work;
    const QString served = QDir(work.path()).filePath(QStringLiteral("served"));
    QDir().mkpath(served);
    const QString digest = writeImage(QDir(served).filePath(imageName), imageSize);

    std::optional<SendfileServer> server(std::in_place, QDir(served).filePath(imageName));
    const QUrl url(QStringLiteral("http://127.0.0.1:%1/%2").arg(server->port()).arg(imageName));

    const QString curlOutput = QDir(work.path()).filePath(QStringLiteral("curl.ipsw"));
    TestPaths paths; // the cache folder lives in its own temporary tree
    FakeToolBehaviour realDigest;
    realDigest.extraShell = "exec /usr/bin/shasum \"$@\"";

    // The machine is shared, so the two clients alternate and each keeps its best round.
    double curlSeconds = 1e9;
    bool allComplete = true;
    ManagerRun unverified{1e9, true, 0};
    for (int round = 0; round < rounds; ++round) {
        QElapsedTimer timer;
        timer.start();
        const int curlStatus =
            QProcess::execute(QStringLiteral("curl"),
                              {QStringLiteral("-sS"), QStringLiteral("-o"), curlOutput, url.toString()});
        curlSeconds = qMin(curlSeconds, secondsOf(timer));
        allComplete &= curlStatus == 0 && QFile(curlOutput).size() == imageSize;
        QFile::remove(curlOutput);

        FakeTools::write(paths.shasum(), FakeToolBehaviour{}); // prints no digest; none is expected
        const ManagerRun run = downloadWithManager(url, QString());
        allComplete &= run.ok;
        unverified.seconds = qMin(unverified.seconds, run.seconds);
        unverified.residentGrowthMiB = qMax(unverified.residentGrowthMiB, run.residentGrowthMiB);
    }

    FakeTools::write(paths.shasum(), realDigest);
    const ManagerRun verified = downloadWithManager(url, digest);
    allComplete &= verified.ok;

    server.reset();
    QFile::remove(QDir(served).filePath(imageName));

    if (!allComplete)
        QTextStream(stdout) << "a download failed or came out incomplete" << Qt::endl;
    const double curlRate = mebibytesPerSecond(curlSeconds);
    Bench::report(QStringLiteral("curl -o, best round"), curlRate, QStringLiteral("MiB/s"));
    Bench::report(QStringLiteral("manager without verification, best round"),
                  mebibytesPerSecond(unverified.seconds), QStringLiteral("MiB/s"));
    Bench::report(QStringLiteral("manager with verification"), mebibytesPerSecond(verified.seconds),
                  QStringLiteral("MiB/s"));
    Bench::report(QStringLiteral("ratio to curl without verification"),
                  mebibytesPerSecond(unverified.seconds) / curlRate, QStringLiteral("x"));
    Bench::report(QStringLiteral("ratio to curl with verification"),
                  mebibytesPerSecond(verified.seconds) / curlRate, QStringLiteral("x"));
    Bench::report(QStringLiteral("peak resident growth without verification, worst round"),
                  unverified.residentGrowthMiB, QStringLiteral("MiB"));
    Bench::report(QStringLiteral("peak resident growth with verification"), verified.residentGrowthMiB,
                  QStringLiteral("MiB"));
}
