#include "Bench.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>

namespace {

struct ProcessFigures {
    double firstFrameMs = 0;
    double firstFrameCpuMs = 0; // CPU spent by then: steadier than the wall clock on a loaded machine
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

// CPU time of each of the process's threads, to the nanosecond (the scheduler's own account; the
// tick-based figures of /proc/PID/stat are too coarse for a mostly sleeping process).
QHash<QString, double> threadCpuMilliseconds(qint64 pid)
{
    QHash<QString, double> threads;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid));
    for (const QString &task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile schedstat(tasks.filePath(task + QStringLiteral("/schedstat")));
        if (schedstat.open(QIODevice::ReadOnly))
            threads.insert(task, schedstat.readAll().split(' ').first().toDouble() / 1e6);
    }
    return threads;
}

double cpuMilliseconds(qint64 pid)
{
    double total = 0;
    for (const double thread : threadCpuMilliseconds(pid))
        total += thread;
    return total;
}

// CPU spent between two readings by the threads running at the second: a worker that ended in
// between takes its whole account with it, which would otherwise count as time given back.
double cpuSpentSince(const QHash<QString, double> &before, qint64 pid)
{
    double spent = 0;
    const QHash<QString, double> after = threadCpuMilliseconds(pid);
    for (auto thread = after.cbegin(); thread != after.cend(); ++thread)
        spent += thread.value() - before.value(thread.key());
    return spent;
}

// Without a network, so the catalogue fails at once as it does offline; the spinner keeps turning.
bool canIsolateNetwork()
{
    static const bool can =
        QProcess::execute(QStringLiteral("unshare"), {QStringLiteral("-rn"), QStringLiteral("true")}) == 0;
    return can;
}

// A private X server when Xvfb is installed: start-up then includes what a real display costs
// (connecting, fonts, pushing frames), for the bare window as for the application.
class PrivateDisplay {
public:
    PrivateDisplay()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("Xvfb")).isEmpty() ||
            qEnvironmentVariableIsSet("CORVALIN_BENCH_OFFSCREEN"))
            return;
        m_server.start(QStringLiteral("Xvfb"),
                       {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                        QStringLiteral("0"), QStringLiteral("1600x1000x24"), QStringLiteral("-nolisten"),
                        QStringLiteral("tcp")});
        QByteArray number;
        const bool answered = QTest::qWaitFor(
            [&] {
                number += m_server.readAllStandardOutput();
                return number.contains('\n') || m_server.state() == QProcess::NotRunning;
            },
            10000);
        if (answered && number.contains('\n'))
            m_display = u':' + QString::fromLatin1(number.trimmed());
    }
    ~PrivateDisplay()
    {
        m_server.terminate();
        m_server.waitForFinished(5000);
    }
    PrivateDisplay(const PrivateDisplay &) = delete;
    PrivateDisplay &operator=(const PrivateDisplay &) = delete;

    // Empty when there is none: the processes then draw offscreen.
    const QString &display() const { return m_display; }

private:
    QProcess m_server;
    QString m_display;
};

// Starts `executable` offscreen with a private home, times its first frame, then measures its
// memory once settled and its CPU time while idle.
ProcessFigures measure(const QString &executable, int idleSeconds, const QString &display,
                       const QStringList &arguments = {})
{
    QTemporaryDir home;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (display.isEmpty()) {
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    } else {
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        environment.insert(QStringLiteral("DISPLAY"), display);
    }
    environment.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("corvalin.startup.info=true"));
    environment.insert(QStringLiteral("HOME"), home.path());
    for (const char *variable : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DOWNLOAD_DIR"})
        environment.insert(QString::fromLatin1(variable), home.path() + u'/' + QString::fromLatin1(variable));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.path());

    // The kernel tears the previous start's network namespace down in the background, and a new
    // one waits for that: without a pause a start can take tens of milliseconds longer.
    QTest::qWait(1000);
    QProcess process;
    process.setProcessEnvironment(environment);
    QByteArray errors;
    ProcessFigures figures;
    QElapsedTimer clock;
    // Timed as the line arrives: a polling wait would round both starts up to its 10 ms step.
    QEventLoop untilFramed;
    QObject::connect(&process, &QProcess::readyReadStandardError, [&] {
        errors += process.readAllStandardError();
        if (figures.firstFrameMs == 0 && errors.contains("First frame")) {
            figures.firstFrameMs = double(clock.nsecsElapsed()) / 1e6;
            figures.firstFrameCpuMs = cpuMilliseconds(process.processId());
            untilFramed.quit();
        }
    });
    QTimer::singleShot(20000, &untilFramed, &QEventLoop::quit);
    clock.start();
    if (canIsolateNetwork())
        process.start(QStringLiteral("unshare"), QStringList{QStringLiteral("-rn"), executable} + arguments);
    else
        process.start(executable, arguments);
    untilFramed.exec();
    if (figures.firstFrameMs == 0)
        qFatal("%s showed no first frame: %s", qPrintable(executable), errors.constData());

    QTest::qWait(2000); // settled: the first catalogue attempt has failed
    figures.residentMiB = residentMiB(process.processId());
    const QHash<QString, double> cpuBefore = threadCpuMilliseconds(process.processId());
    QTest::qWait(idleSeconds * 1000);
    figures.idleCpuMs = cpuSpentSince(cpuBefore, process.processId());

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

// The application started on a private X server (offscreen without one) and offline, against a bare Qt window
// of the same size started the same way: time to the first painted frame, resident memory once settled, and
// the CPU time spent idle (the catalogue has failed, so its spinner turns). Pairs alternate so both see the
// same load; CORVALIN_BENCH_PAIRS sets how many (default 5).
CORVALIN_BENCHMARK(applicationStartupAndIdle)
{
    const int pairs = qEnvironmentVariableIsSet("CORVALIN_BENCH_PAIRS")
                          ? qEnvironmentVariableIntValue("CORVALIN_BENCH_PAIRS")
                          : 5;
    constexpr int idleSeconds = 10;
    const PrivateDisplay display;
    Bench::report(display.display().isEmpty() ? QStringLiteral("drawn offscreen (no Xvfb)")
                                              : QStringLiteral("drawn on a private Xvfb display"),
                  0, {});
    if (!canIsolateNetwork())
        Bench::report(QStringLiteral("network not isolated (no unshare); offline figures may differ"), 0, {});
    QList<double> frameRatios, frameCpuRatios, memoryRatios, appIdle, bareIdle, turningIdle;
    for (int pair = 0; pair < pairs; ++pair) {
        const ProcessFigures bare =
            measure(QStringLiteral(CORVALIN_BARE_WINDOW), idleSeconds, display.display());
        const ProcessFigures app =
            measure(QStringLiteral(CORVALIN_APPLICATION), idleSeconds, display.display());
        Bench::report(
            QStringLiteral(
                "pair %1: first frame %2 / %3 ms (CPU %9 / %10 ms), RSS %4 / %5 MiB, idle CPU %6 / %7 "
                "ms in %8 s")
                .arg(pair + 1)
                .arg(app.firstFrameMs, 0, 'f', 0)
                .arg(bare.firstFrameMs, 0, 'f', 0)
                .arg(app.residentMiB, 0, 'f', 1)
                .arg(bare.residentMiB, 0, 'f', 1)
                .arg(app.idleCpuMs, 0, 'f', 1)
                .arg(bare.idleCpuMs, 0, 'f', 1)
                .arg(idleSeconds)
                .arg(app.firstFrameCpuMs, 0, 'f', 0)
                .arg(bare.firstFrameCpuMs, 0, 'f', 0),
            app.firstFrameMs / bare.firstFrameMs, QStringLiteral("× first frame"));
        frameRatios << app.firstFrameMs / bare.firstFrameMs;
        frameCpuRatios << app.firstFrameCpuMs / bare.firstFrameCpuMs;
        memoryRatios << app.residentMiB / bare.residentMiB;
        appIdle << app.idleCpuMs / (idleSeconds * 10.0); // per cent of one core
        bareIdle << bare.idleCpuMs / (idleSeconds * 10.0);
        const ProcessFigures turning = measure(QStringLiteral(CORVALIN_BARE_WINDOW), idleSeconds,
                                               display.display(), {QStringLiteral("--turning")});
        turningIdle << turning.idleCpuMs / (idleSeconds * 10.0);
    }
    reportSpread(QStringLiteral("first frame / bare window (target ≤ 1.3)"), frameRatios,
                 QStringLiteral("×"));
    reportSpread(QStringLiteral("CPU to the first frame / bare window"), frameCpuRatios, QStringLiteral("×"));
    reportSpread(QStringLiteral("idle RSS / bare window (target ≤ 1.5)"), memoryRatios, QStringLiteral("×"));
    reportSpread(QStringLiteral("idle CPU, application (target < 0.2)"), appIdle,
                 QStringLiteral("% of a core"));
    reportSpread(QStringLiteral("idle CPU, bare window"), bareIdle, QStringLiteral("% of a core"));
    reportSpread(QStringLiteral("idle CPU, bare window repainting a 24-pixel square 4 times a second"),
                 turningIdle, QStringLiteral("% of a core"));
}
