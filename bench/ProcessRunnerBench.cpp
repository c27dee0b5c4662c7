#include "Bench.h"

#include "tools/ProcessRunner.h"

#include <QCoroTask>
#include <QTimer>

#include <algorithm>

// How long one short tool run costs end to end; detection runs two of these every cycle.
CORVALIN_BENCHMARK(processRunnerShortTool)
{
    constexpr int runs = 50;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < runs; ++i)
        QCoro::waitFor(ProcessRunner::run(QStringLiteral("/bin/true"), {}));
    Bench::report(QStringLiteral("mean time per run"), double(timer.nsecsElapsed()) / runs / 1e6,
                  QStringLiteral("ms"));
}

// How long the caller's event loop goes without a turn while a tool prints 200 MB: the reading
// and the decoding happen on the runner's worker, so this stays near the timer's own period.
CORVALIN_BENCHMARK(processRunnerLargeOutput)
{
    QTimer ticker;
    QElapsedTimer sinceTick;
    qint64 longestGapNs = 0;
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        longestGapNs = std::max(longestGapNs, sinceTick.nsecsElapsed());
        sinceTick.restart();
    });
    ticker.start(1);
    sinceTick.start();
    QElapsedTimer timer;
    timer.start();
    const QStringList arguments{QStringLiteral("-c"), QStringLiteral("head -c 200000000 /dev/zero")};
    const ProcessResult result = QCoro::waitFor(ProcessRunner::run(QStringLiteral("/bin/sh"), arguments));
    longestGapNs = std::max(longestGapNs, sinceTick.nsecsElapsed()); // up to the caller's resumption
    Bench::report(QStringLiteral("200 MB output, total"), double(timer.nsecsElapsed()) / 1e6,
                  QStringLiteral("ms"));
    Bench::report(QStringLiteral("200 MB output, longest event loop gap"), double(longestGapNs) / 1e6,
                  QStringLiteral("ms"));
    if (result.output.size() != 200000000)
        qFatal("The tool's output was cut short");
}
