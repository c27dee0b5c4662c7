#include "Bench.h"

#include "tools/ProcessRunner.h"

#include <QCoroTask>

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
