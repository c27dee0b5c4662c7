#include "tools/ProcessRunner.h"

#include "tools/PipedChild.h"
#include "tools/ToolLocator.h"

#include <QCoroFuture>
#include <QFileInfo>
#include <QPromise>

#include <thread>

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

} // namespace

namespace ProcessRunner {

QCoro::Task<ProcessResult> run(QString executable, QStringList arguments)
{
    const QFileInfo info(executable);
    if (!info.isFile() || !info.isExecutable())
        co_return ProcessResult{-1, QStringLiteral("Инструмент не найден: ") + executable};

    // A thread of its own per run rather than a pool's: a tool that never ends then holds up
    // nothing else, and nothing waits for it when the application exits.
    QPromise<ProcessResult> promise;
    QFuture<ProcessResult> result = promise.future();
    promise.start();
    std::thread([promise = std::move(promise), executable, arguments,
                 environment = ToolLocator::environment().toStringList()]() mutable {
        promise.addResult(runToCompletion(executable, arguments, environment));
        promise.finish();
    }).detach();
    co_return co_await result;
}

} // namespace ProcessRunner
