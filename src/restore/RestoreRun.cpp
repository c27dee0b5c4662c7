// The restore run of RestoreManager: choosing the tool, launching it, streaming its output
// into the log, handling its exit and interrupting it.
#include "restore/RestoreManager.h"

#include "restore/ChildInterrupt.h"
#include "restore/command/RestoreCommandLine.h"
#include "restore/command/RestoreDestinations.h"
#include "tools/ToolLocator.h"

#include <QDir>

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
        launch(*configurator, configuratorArguments(watch, imagePath), environment);
        co_return;
    }

    appendLog(QStringLiteral("Транспорт: libimobiledevice Recovery/DFU."));
    if (!imagePath) {
        setIsRestoring(false);
        setLastError(QStringLiteral("IPSW не выбран."));
        co_return;
    }
    const QString tool = QDir(ToolLocator::toolsRoot()).filePath(QStringLiteral("bin/idevicerestore"));
    launch(tool, RestoreCommandLine::recoveryArguments(destinations, *imagePath), ToolLocator::environment());
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

void RestoreManager::launch(const QString &program, const QStringList &arguments,
                            const QProcessEnvironment &environment)
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
    // The child reports at once whether its exec succeeded; the wait lasts no longer than that
    // and handles neither output nor exit, so a failed launch has been dealt with by the time
    // startRestore returns, and a running tool is left to its handlers.
    if (process->waitForStarted(-1) || process->error() != QProcess::FailedToStart)
        return;
    handleLaunchFailure(process);
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
