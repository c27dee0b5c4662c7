#include "tools/ProcessRunner.h"

#include "tools/ToolLocator.h"

#include <QCoroSignal>
#include <QFileInfo>
#include <QProcess>

namespace {

class ProcessEnd final : public QObject {
    Q_OBJECT

signals:
    void ended();
};

} // namespace

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

    // Wakes the coroutine when the child has exited or could not be started at all.
    ProcessEnd end;
    bool failedToStart = false;
    QObject::connect(&process, &QProcess::errorOccurred, &end, [&](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            failedToStart = true;
            emit end.ended();
        }
    });
    QObject::connect(&process, &QProcess::finished, &end, &ProcessEnd::ended);

    process.start(QIODevice::ReadOnly);
    // A failed start may be reported before start() returns.
    if (process.state() != QProcess::NotRunning)
        co_await qCoro(&end, &ProcessEnd::ended);

    if (failedToStart)
        co_return ProcessResult{-1, process.errorString()};

    // QProcess drains the pipe into its buffer as data arrives, so the child never blocks.
    const QByteArray bytes = process.readAll();
    co_return ProcessResult{process.exitCode(), QString::fromUtf8(bytes)};
}

} // namespace ProcessRunner

#include "ProcessRunner.moc"
