#include "tools/ProcessRunner.h"

#include "tools/ToolLocator.h"

#include <QCoroSignal>
#include <QFileInfo>
#include <QProcess>

namespace ProcessRunner {

QCoro::Task<ProcessResult> run(QString executable, QStringList arguments)
{
    const QFileInfo info(executable);
    if (!info.isFile() || !info.isExecutable())
        co_return ProcessResult{-1, QStringLiteral("Инструмент не найден: ") + executable};

    QProcess process;
    process.setProgram(executable);
    process.setArguments(arguments);
    process.setProcessEnvironment(ToolLocator::environment());
    process.setProcessChannelMode(QProcess::MergedChannels);
    // The child inherits the application's standard input, as any tool started from it would.
    process.setInputChannelMode(QProcess::ForwardedInputChannel);

    bool failedToStart = false;
    QObject::connect(&process, &QProcess::errorOccurred, [&failedToStart](QProcess::ProcessError error) {
        failedToStart = failedToStart || error == QProcess::FailedToStart;
    });

    // Both a failed start and an exit end in the NotRunning state; a failed start may get
    // there before start() returns.
    process.start(QIODevice::ReadOnly);
    while (process.state() != QProcess::NotRunning)
        co_await qCoro(&process, &QProcess::stateChanged);

    if (failedToStart)
        co_return ProcessResult{-1, process.errorString()};

    // QProcess drains the pipe into its buffer as data arrives, so the child never blocks.
    const QByteArray bytes = process.readAll();
    co_return ProcessResult{process.exitCode(), QString::fromUtf8(bytes)};
}

} // namespace ProcessRunner
