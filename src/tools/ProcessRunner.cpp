#include "tools/ProcessRunner.h"

#include "tools/PipedChild.h"
#include "tools/ToolLocator.h"

#include <QCoroFuture>
#include <QFileInfo>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>

#include <limits>

namespace {

ProcessResult runToCompletion(const QString &executable, const QStringList &arguments,
                              const QStringList &environment)
{
    const PipedChild::Outcome outcome = PipedChild::run(executable, arguments, environment);
    if (!outcome.status)
        return ProcessResult{-1, outcome.startError};
    // Decoded here, on the worker: a large output must not stall the caller's thread.
    return ProcessResult{*outcome.status, QString::fromUtf8(outcome.output)};
}

// A pool without a limit, so every run has a worker at once and a tool that never ends holds up
// nothing else; never destroyed, so nothing waits for such a tool when the application exits.
QThreadPool *workers()
{
    static QThreadPool *const pool = [] {
        auto *created = new QThreadPool;
        created->setMaxThreadCount(std::numeric_limits<int>::max());
        return created;
    }();
    return pool;
}

} // namespace

namespace ProcessRunner {

QCoro::Task<ProcessResult> run(QString executable, QStringList arguments)
{
    const QFileInfo info(executable);
    if (!info.isFile() || !info.isExecutable())
        co_return ProcessResult{-1, QStringLiteral("Инструмент не найден: ") + executable};

    co_return co_await QtConcurrent::run(workers(), runToCompletion, executable, arguments,
                                         ToolLocator::environment().toStringList());
}

} // namespace ProcessRunner
