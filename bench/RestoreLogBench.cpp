#include "Bench.h"
#include "RestoreProgressOutput.h"

#include "restore/RestoreManager.h"
#include "support/FakeTools.h"
#include "support/TestPaths.h"

#include <QCoroTask>
#include <QEventLoop>
#include <QProcess>
#include <QTextStream>

namespace {

// The same tool with its output going nowhere: what the child itself costs.
double millisecondsToDevNull(const QString &tool)
{
    QElapsedTimer timer;
    timer.start();
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.start(tool, {});
    process.waitForFinished(-1);
    return double(timer.nsecsElapsed()) / 1e6;
}

} // namespace

// Launch to handled exit of a restore tool that floods its output: the whole output must be in
// the log, and appending must cost the chunk, not the log that has grown so far.
CORVALIN_BENCHMARK(restoreLogIngestion)
{
    TestPaths paths;
    const QByteArray output = Bench::restoreProgressOutput();
    // A KIS watch without an image launches straight away, without the image check.
    const QString tool = FakeTools::write(paths.cfgutil(), FakeToolBehaviour::printing(output));
    const ConnectedWatch watch{QStringLiteral("Watch7,1"),     QStringLiteral("n207sap"),
                               QStringLiteral("Apple Watch"),  QStringLiteral("DFU via Debug USB (KIS)"),
                               QStringLiteral("0x1A2B3C4D5E"), QString()};

    RestoreManager manager;
    const qsizetype before = manager.logText().size();
    int changes = 0;
    QObject::connect(&manager, &RestoreManager::logTextChanged, [&changes] { ++changes; });
    QEventLoop loop;
    QObject::connect(&manager, &RestoreManager::isRestoringChanged, &loop, [&] {
        if (!manager.isRestoring())
            loop.quit();
    });

    QElapsedTimer timer;
    timer.start();
    QCoro::waitFor(manager.startRestore(std::nullopt, watch));
    if (manager.isRestoring())
        loop.exec();
    const double intoLog = double(timer.nsecsElapsed()) / 1e6;

    const double toDevNull = millisecondsToDevNull(tool);

    // Chunks that end mid-line get a line feed, so count everything but line feeds.
    const QString text = manager.logText().mid(before);
    const bool complete = QString(text).remove(u'\n').contains(QString::fromLatin1(output).remove(u'\n'));
    Bench::report(QStringLiteral("output size"), double(output.size()) / 1e6, QStringLiteral("MB"));
    Bench::report(QStringLiteral("launch to handled exit, all output in logText"), intoLog,
                  QStringLiteral("ms"));
    Bench::report(QStringLiteral("same tool piped to /dev/null"), toDevNull, QStringLiteral("ms"));
    Bench::report(QStringLiteral("log appends (chunks)"), changes, QString());
    QTextStream(stdout) << "every byte in logText: " << (complete ? "yes" : "NO") << Qt::endl;
}

// The worst case for the log: every progress line arrives as a chunk of its own. Copying the
// log per append would make this quadratic (terabytes for 12 MB); amortised growth keeps it linear.
CORVALIN_BENCHMARK(restoreLogLineByLineAppends)
{
    const QString line = QStringLiteral("[000000] Sending filesystem:  50.0% complete..............");
    for (const int count : {Bench::progressLines / 2, Bench::progressLines}) {
        RestoreManager manager;
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < count; ++i)
            manager.appendLog(line);
        Bench::report(QStringLiteral("%1 single-line appends").arg(count), double(timer.nsecsElapsed()) / 1e6,
                      QStringLiteral("ms"));
    }
}
