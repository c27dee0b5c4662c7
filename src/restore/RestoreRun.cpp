// The restore run of RestoreManager: choosing the tool, launching it, streaming its output
// into the log, handling its exit and interrupting it.
#include "restore/RestoreManager.h"

#include "restore/ChildInterrupt.h"
#include "restore/command/RestoreCommandLine.h"
#include "restore/command/RestoreDestinations.h"
#include "tools/ToolLocator.h"

#include <QDir>

#include <coroutine>

namespace {

// Resumes the awaiting coroutine once the process has left the starting state, that is once it
// runs or has failed to start. The resumption is queued, so Qt has finished reporting the
// outcome (a failure's error is set) by then. QCoro's signal awaiter is not used here: it hands
// the signal's private tag on to its handler.
class LaunchDecided {
public:
    explicit LaunchDecided(QProcess *process) : m_process(process) {}
    bool await_ready() const noexcept { return m_process->state() != QProcess::Starting; }
    void await_suspend(std::coroutine_handle<> awaiting)
    {
        m_connection = QObject::connect(
            m_process, &QProcess::stateChanged, m_process,
            [this, awaiting] {
                QObject::disconnect(m_connection);
                awaiting.resume();
            },
            Qt::QueuedConnection);
    }
    void await_resume() const noexcept {}

private:
    QProcess *m_process;
    QMetaObject::Connection m_connection;
};

} // namespace

QCoro::Task<> RestoreManager::startRestore(std::optional<QString> imagePath, ConnectedWatch watch)
{
    // The only guard: a second call while the first is still validating goes ahead on its own.
    if (m_isRestoring)
        co_return;

    const bool isKIS = watch.transport == WatchTransport::kis;
    if (isKIS && !ToolLocator::cfgutil()) {
        refuse(QStringLiteral("Для восстановления из KIS/DFU установите Apple Configurator из App Store."));
        co_return;
    }

    if (imagePath) {
        const QPointer<RestoreManager> self(this);
        const bool valid = co_await validate(*imagePath, watch.productType);
        if (!self || !valid)
            co_return;
    } else if (isKIS) {
        appendLog(QStringLiteral("Apple Configurator загрузит последнюю подписываемую версию для ") +
                  watch.productType + u'.');
    } else {
        refuse(QStringLiteral("Выберите полный Restore.ipsw для восстановления через Recovery/DFU."));
        co_return;
    }

    setCompletedSuccessfully(false);
    setLastError(std::nullopt);
    setIsRestoring(true);

    const RestoreDestinations destinations = RestoreDestinations::forNow();
    appendLog(QStringLiteral("Запуск восстановления. Журнал: ") + destinations.logFile);

    // Looked up again: Configurator may have gone away while the image was being checked.
    const std::optional<QString> configurator = isKIS ? ToolLocator::cfgutil() : std::nullopt;
    if (configurator) {
        appendLog(QStringLiteral("Транспорт: Apple Configurator KIS, ECID ") + watch.ecid + u'.');
        QProcessEnvironment environment = ToolLocator::environment();
        destinations.handDown(environment);
        co_await launch(*configurator, configuratorArguments(watch, imagePath), environment);
        co_return;
    }

    appendLog(QStringLiteral("Транспорт: libimobiledevice Recovery/DFU."));
    if (!imagePath) {
        setIsRestoring(false);
        setLastError(QStringLiteral("IPSW не выбран."));
        co_return;
    }
    const QString tool = QDir(ToolLocator::toolsRoot()).filePath(QStringLiteral("bin/idevicerestore"));
    co_await launch(tool, RestoreCommandLine::recoveryArguments(destinations, *imagePath),
                    ToolLocator::environment());
}

void RestoreManager::cancelRestore()
{
    if (m_process && m_process->state() != QProcess::NotRunning)
        ChildInterrupt::send(m_process->processId());
    appendLog(QStringLiteral("Пользователь запросил остановку процесса."));
}

void RestoreManager::stopBeforeExit(std::chrono::milliseconds bound)
{
    const QPointer<QProcess> process = m_process;
    if (!process || process->state() == QProcess::NotRunning)
        return;
    cancelRestore();
    // Emits finished from inside the wait, so the end is handled here even without an event loop.
    if (!process->waitForFinished(int(bound.count())))
        forceEnd();
}

void RestoreManager::forceEnd()
{
    const QPointer<QProcess> process = m_process;
    if (!process || process->state() == QProcess::NotRunning)
        return;
    process->kill();
    // A killed process is reaped at once; the bound only guards against the impossible.
    process->waitForFinished(5000);
}

void RestoreManager::refuse(const QString &message)
{
    setLastError(message);
    appendLog(message);
}

QStringList RestoreManager::configuratorArguments(const ConnectedWatch &watch,
                                                  const std::optional<QString> &imagePath)
{
    QStringList arguments{QStringLiteral("--ecid"), watch.ecid, QStringLiteral("--progress"),
                          QStringLiteral("restore")};
    // Without an image Configurator fetches the latest signed firmware by itself.
    if (imagePath)
        arguments << QStringLiteral("--ipsw") << *imagePath;
    return arguments;
}

QCoro::Task<> RestoreManager::launch(QString program, QStringList arguments, QProcessEnvironment environment)
{
    auto *process = new QProcess;
    process->setProgram(program);
    process->setArguments(arguments);
    process->setProcessEnvironment(environment);
    process->setProcessChannelMode(QProcess::MergedChannels);
    // The application's own standard input, never a pipe nobody writes: a tool that reads its
    // input sees what the application was given (end of file, usually) instead of waiting.
    process->setInputChannelMode(QProcess::ForwardedInputChannel);
    ChildInterrupt::prepareChild(*process);
    m_process = process;

    const QPointer<RestoreManager> self(this);
    // Each chunk is decoded by itself: a character split across two reads becomes U+FFFD.
    connect(process, &QProcess::readyRead, process, [self, process] {
        const QByteArray bytes = process->readAll();
        if (self && !bytes.isEmpty())
            self->appendLog(QString::fromUtf8(bytes));
    });
    connect(process, &QProcess::finished, process,
            [self, process](int exitCode, QProcess::ExitStatus status) {
                if (self)
                    self->handleExit(process, exitCode, status);
                process->deleteLater();
            });

    process->start(QIODevice::ReadOnly);
    // Whether exec succeeded is only known a moment later; waiting for it means that a failed
    // launch has been handled by the time startRestore returns. The process cannot be deleted
    // meanwhile: the resumption is queued before any exit could be noticed.
    co_await LaunchDecided(process);
    if (process->state() != QProcess::NotRunning || process->error() != QProcess::FailedToStart)
        co_return; // running, or a crash that still ends with finished
    if (self)
        self->handleLaunchFailure(process);
    process->deleteLater();
}

void RestoreManager::handleExit(QProcess *process, int exitCode, QProcess::ExitStatus exitStatus)
{
    // The tool's last words come before the closing line.
    const QByteArray rest = process->readAll();
    disconnect(process, &QProcess::readyRead, nullptr, nullptr);
    if (!rest.isEmpty())
        appendLog(QString::fromUtf8(rest));

    setIsRestoring(false);
    m_process = nullptr;

    // For a tool ended by a signal, Qt reports the signal's number as the exit code.
    if (exitStatus == QProcess::NormalExit && exitCode == 0) {
        setCompletedSuccessfully(true);
        appendLog(QStringLiteral("Восстановление завершено успешно."));
        return;
    }
    const QString message =
        QStringLiteral("Восстановление завершилось с ошибкой ") + QString::number(exitCode) + u'.';
    setLastError(message);
    appendLog(message);
}

void RestoreManager::handleLaunchFailure(QProcess *process)
{
    const QString description = process->errorString();
    setIsRestoring(false);
    setLastError(description);
    appendLog(QStringLiteral("Ошибка запуска: ") + description);
    m_process = nullptr;
}
