#include "Bench.h"

#include "restore/RestoreManager.h"
#include "support/RestoreImage.h"
#include "support/SigningServer.h"
#include "support/TestPaths.h"
#include "support/VirtualWatch.h"

#include <QCoroTask>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QHash>
#include <QTextStream>
#include <QTime>
#include <QTimer>

#include <algorithm>

namespace {

const QString waitingLine = QStringLiteral("Waiting for device to enter restore mode...");

// When each line first stood whole in logText, in milliseconds since midnight.
class LineArrivals {
public:
    explicit LineArrivals(const RestoreManager &manager)
    {
        QObject::connect(&manager, &RestoreManager::logTextChanged, &m_context, [this, &manager] {
            const int now = QTime::currentTime().msecsSinceStartOfDay();
            const QString &text = manager.logText();
            qsizetype end;
            while ((end = text.indexOf(u'\n', m_seen)) >= 0) {
                m_arrivals.insert(text.mid(m_seen, end - m_seen), now);
                m_seen = end + 1;
            }
        });
    }
    const QHash<QString, int> &arrivals() const { return m_arrivals; }

private:
    QObject m_context;
    qsizetype m_seen = 0;
    QHash<QString, int> m_arrivals;
};

// The tool's own log file: "HH:MM:SS.mmm <Level> text" per line, written (and flushed) at the
// moment the tool writes the same text to its standard output.
QList<std::pair<int, QString>> toolLogLines(const QString &path)
{
    QList<std::pair<int, QString>> lines;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return lines;
    for (const QString &line : QString::fromUtf8(file.readAll()).split(u'\n')) {
        const QTime time = QTime::fromString(line.left(12), QStringLiteral("HH:mm:ss.zzz"));
        const qsizetype textStart = line.indexOf(u'>');
        if (time.isValid() && textStart > 0)
            lines.append({time.msecsSinceStartOfDay(), line.mid(textStart + 1).trimmed()});
    }
    return lines;
}

bool waitUntil(const std::function<bool()> &done, int timeoutMs)
{
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (done())
            loop.quit();
    });
    poll.start(5);
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
    if (!done())
        loop.exec();
    return done();
}

} // namespace

// The delay between the real idevicerestore writing a line and the application's log holding it,
// over a restore of a virtual watch up to the restore-mode wait (which the stop button then ends).
CORVALIN_BENCHMARK(restoreLineDelay)
{
    QTextStream out(stdout);
    if (!VirtualWatch::available()) {
        out << "restoreLineDelay: skipped, this build has no Tools folder for the virtual watch" << Qt::endl;
        return;
    }
    TestPaths paths;
    VirtualWatch watch(paths);
    SigningServer signing;
    const QString image = QDir(paths.downloads()).filePath(QStringLiteral("Watch6,1_Restore.ipsw"));
    if (!watch.installTools() || !RestoreImage::write(image, RestoreImage::series6())) {
        out << "restoreLineDelay: the tools or the image could not be prepared" << Qt::endl;
        return;
    }
    watch.attach(VirtualWatch::Mode::Recovery);

    RestoreManager manager;
    const LineArrivals arrivals(manager);
    const ConnectedWatch series6{QStringLiteral("Watch6,1"),       QStringLiteral("n157sap"),
                                 QStringLiteral("Apple Watch"),    QStringLiteral("Recovery"),
                                 QStringLiteral("0x1A2B3C4D5E6F"), QString()};
    QCoro::waitFor(manager.startRestore(image, series6));
    const bool waited = waitUntil([&] { return arrivals.arrivals().contains(waitingLine); }, 60000);
    manager.cancelRestore();
    waitUntil([&] { return !manager.isRestoring(); }, 15000);

    const QString logFile = manager.logText().section(QStringLiteral("Журнал: "), 1).section(u'\n', 0, 0);
    QList<int> delays;
    int waitingDelay = -1;
    for (const auto &[written, text] : toolLogLines(logFile)) {
        const auto arrival = arrivals.arrivals().constFind(text);
        if (arrival == arrivals.arrivals().cend())
            continue;
        delays.append(*arrival - written);
        if (text == waitingLine)
            waitingDelay = *arrival - written;
    }
    if (delays.isEmpty() || !waited) {
        out << "restoreLineDelay: the restore did not reach the restore-mode wait" << Qt::endl;
        return;
    }
    std::sort(delays.begin(), delays.end());
    Bench::report(QStringLiteral("tool lines matched in the log"), delays.size(), QString());
    Bench::report(QStringLiteral("write to log, median"), delays.at(delays.size() / 2), QStringLiteral("ms"));
    Bench::report(QStringLiteral("write to log, worst"), delays.constLast(), QStringLiteral("ms"));
    Bench::report(QStringLiteral("\"Waiting for device to enter restore mode...\" write to log"),
                  waitingDelay, QStringLiteral("ms"));
}
