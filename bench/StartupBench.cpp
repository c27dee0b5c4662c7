#include "Bench.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <unistd.h>

namespace {

struct ProcessFigures {
    double firstFrameMs = 0;
    double residentMiB = 0;
    double idleCpuMs = 0;
};

// Kernel figures of a running process: resident memory and CPU time (user and system).
double residentMiB(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024;
    }
    return 0;
}

double cpuMilliseconds(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = stat.readAll();
    // Fields after the command name, which is in parentheses and may hold spaces.
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    const double ticks = fields.at(11).toDouble() + fields.at(12).toDouble(); // utime, stime
    return ticks * 1000 / double(sysconf(_SC_CLK_TCK));
}

// Without a network, so the catalogue fails at once as it does offline; the spinner keeps turning.
bool canIsolateNetwork()
{
    static const bool can =
        QProcess::execute(QStringLiteral("unshare"), {QStringLiteral("-rn"), QStringLiteral("true")}) == 0;
    return can;
}

// Starts `executable` offscreen with a private home, times its first frame, then measures its
// memory once settled and its CPU time while idle.
ProcessFigures measure(const QString &executable, int idleSeconds)
{
    QTemporaryDir home;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("corvalin.startup.info=true"));
    environment.insert(QStringLiteral("HOME"), home.path());
    for (const char *variable : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DOWNLOAD_DIR"})
        environment.insert(QString::fromLatin1(variable), home.path() + u'/' + QString::fromLatin1(variable));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.path());

    QProcess process;
    process.setProcessEnvironment(environment);
    QByteArray errors;
    QObject::connect(&process, &QProcess::readyReadStandardError,
                     [&] { errors += process.readAllStandardError(); });
    QElapsedTimer clock;
    clock.start();
    if (canIsolateNetwork())
        process.start(QStringLiteral("unshare"), {QStringLiteral("-rn"), executable});
    else
        process.start(executable, {});
    ProcessFigures figures;
    if (!QTest::qWaitFor([&] { return errors.contains("First frame"); }, 20000))
        qFatal("%s showed no first frame: %s", qPrintable(executable), errors.constData());
    figures.firstFrameMs = double(clock.nsecsElapsed()) / 1e6;

    QTest::qWait(2000); // settled: the first catalogue attempt has failed
    figures.residentMiB = residentMiB(process.processId());
    const double cpuBefore = cpuMilliseconds(process.processId());
    QTest::qWait(idleSeconds * 1000);
    figures.idleCpuMs = cpuMilliseconds(process.processId()) - cpuBefore;

    process.terminate();
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished();
    }
    return figures;
}

void reportSpread(const QString &name, QList<double> values, const QString &unit)
{
    std::sort(values.begin(), values.end());
    Bench::report(name + QStringLiteral(", min"), values.first(), unit);
    Bench::report(name + QStringLiteral(", median"), values.at(values.size() / 2), unit);
    Bench::report(name + QStringLiteral(", max"), values.last(), unit);
}

} // namespace

// The application started offscreen and offline, against a bare Qt window of the same size
// started the same way: time to the first painted frame, resident memory once settled, and the
// CPU time spent idle (the catalogue has failed, so its spinner turns). Pairs alternate so both
// see the same load; CORVALIN_BENCH_PAIRS sets how many (default 5).
CORVALIN_BENCHMARK(applicationStartupAndIdle)
{
    const int pairs = qEnvironmentVariableIsSet("CORVALIN_BENCH_PAIRS")
                          ? qEnvironmentVariableIntValue("CORVALIN_BENCH_PAIRS")
                          : 5;
    constexpr int idleSeconds = 10;
    if (!canIsolateNetwork())
        Bench::report(QStringLiteral("network not isolated (no unshare); offline figures may differ"), 0, {});
    QList<double> frameRatios, memoryRatios, appIdle, bareIdle;
    for (int pair = 0; pair < pairs; ++pair) {
        const ProcessFigures bare = measure(QStringLiteral(CORVALIN_BARE_WINDOW), idleSeconds);
        const ProcessFigures app = measure(QStringLiteral(CORVALIN_APPLICATION), idleSeconds);
        Bench::report(
            QStringLiteral("pair %1: first frame %2 / %3 ms, RSS %4 / %5 MiB, idle CPU %6 / %7 ms in %8 s")
                .arg(pair + 1)
                .arg(app.firstFrameMs, 0, 'f', 0)
                .arg(bare.firstFrameMs, 0, 'f', 0)
                .arg(app.residentMiB, 0, 'f', 1)
                .arg(bare.residentMiB, 0, 'f', 1)
                .arg(app.idleCpuMs, 0, 'f', 0)
                .arg(bare.idleCpuMs, 0, 'f', 0)
                .arg(idleSeconds),
            app.firstFrameMs / bare.firstFrameMs, QStringLiteral("× first frame"));
        frameRatios << app.firstFrameMs / bare.firstFrameMs;
        memoryRatios << app.residentMiB / bare.residentMiB;
        appIdle << app.idleCpuMs / (idleSeconds * 10.0); // per cent of one core
        bareIdle << bare.idleCpuMs / (idleSeconds * 10.0);
    }
    reportSpread(QStringLiteral("first frame / bare window (target ≤ 1.3)"), frameRatios,
                 QStringLiteral("×"));
    reportSpread(QStringLiteral("idle RSS / bare window (target ≤ 1.5)"), memoryRatios, QStringLiteral("×"));
    reportSpread(QStringLiteral("idle CPU, application (target < 0.2)"), appIdle,
                 QStringLiteral("% of a core"));
    reportSpread(QStringLiteral("idle CPU, bare window"), bareIdle, QStringLiteral("% of a core"));
}
