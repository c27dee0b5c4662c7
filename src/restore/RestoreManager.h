#pragma once

#include "app/records/ConnectedWatch.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

// The one process log of the application, image validation and the restore tool's run.
// Every assignment of a published value emits its signal, even when unchanged.
//
// A restore tool runs as a child of its own: its output is appended to the log chunk by chunk
// as it arrives, and its exit is handled on the GUI thread. Success is exit status 0 and
// nothing else. A tool ended by a signal is reported with the signal's number as its status,
// as the process runner does (an interrupted tool that does not catch SIGINT therefore ends
// with "Восстановление завершилось с ошибкой 2.").
class RestoreManager final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RestoreManager)
    Q_PROPERTY(bool isValidating READ isValidating NOTIFY isValidatingChanged)
    Q_PROPERTY(bool isRestoring READ isRestoring NOTIFY isRestoringChanged)
    Q_PROPERTY(QString logText READ logText NOTIFY logTextChanged)
    Q_PROPERTY(bool completedSuccessfully READ completedSuccessfully NOTIFY completedSuccessfullyChanged)

public:
    explicit RestoreManager(QObject *parent = nullptr);
    ~RestoreManager() override;

    bool isValidating() const { return m_isValidating; }
    bool isRestoring() const { return m_isRestoring; }
    // Only ever grows; a view can show logText().mid(lengthShownSoFar) to catch up.
    const QString &logText() const { return m_logText; }
    const std::optional<QString> &lastError() const { return m_lastError; }
    bool completedSuccessfully() const { return m_completedSuccessfully; }
    // The restore tool while it runs.
    QProcess *process() const { return m_process; }

    // Appends the text, with a line feed added when it has none, as one change of logText.
    // Costs time in proportion to the text, never to the log.
    void appendLog(const QString &text);

    // True when the image lists the product type; otherwise lastError says why.
    QCoro::Task<bool> validate(QString imagePath, QString productType);
    // Returns once the tool has been launched or the attempt refused.
    QCoro::Task<> startRestore(std::optional<QString> imagePath, ConnectedWatch watch);
    // Interrupts the running tool (SIGINT).
    void cancelRestore();
    // For an application about to exit: interrupts a running tool as cancelRestore does, waits
    // up to `bound` for it to end (its output still reaches the log), then ends it by force if
    // it is still running. Blocks; returns at once when no tool runs.
    void stopBeforeExit(std::chrono::milliseconds bound);
    // Kills a tool that is still running and waits for its end to be handled, so that the
    // application never exits leaving it to run on with nobody reading its output (or to die
    // of a broken pipe at its next write). Blocks; does nothing when no tool runs.
    void forceEnd();

signals:
    void isValidatingChanged();
    void isRestoringChanged();
    void logTextChanged();
    void lastErrorChanged();
    void completedSuccessfullyChanged();

private:
    void setIsValidating(bool validating);
    void setIsRestoring(bool restoring);
    void setLastError(std::optional<QString> error);
    void setCompletedSuccessfully(bool completed);
    // Refuses with the message, which also goes into the log.
    void refuse(const QString &message);

    // The argument list of the Configurator transport.
    static QStringList configuratorArguments(const ConnectedWatch &watch,
                                             const std::optional<QString> &imagePath);
    // Starts the tool and returns once it runs or has failed to start; its handlers hold this
    // object weakly and the process deletes itself once it has ended, so a tool outliving the
    // manager is never killed by it.
    void launch(const QString &program, const QStringList &arguments, const QProcessEnvironment &environment);
    void handleExit(QProcess *process, int exitCode, QProcess::ExitStatus exitStatus);
    void handleLaunchFailure(QProcess *process);

    bool m_isValidating = false;
    bool m_isRestoring = false;
    QString m_logText;
    std::optional<QString> m_lastError;
    bool m_completedSuccessfully = false;
    QPointer<QProcess> m_process;
};
