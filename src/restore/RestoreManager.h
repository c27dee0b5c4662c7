#pragma once

#include "device/ConnectedWatch.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QProcess>
#include <QString>

#include <optional>

// The one process log of the application, image validation and the restore tool's run.
// Every assignment of a published value emits its signal, even when unchanged.
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
    void appendLog(const QString &text);

    // True when the image lists the product type; otherwise lastError says why.
    QCoro::Task<bool> validate(QString imagePath, QString productType);
    // Returns once the tool has been launched or the attempt refused.
    QCoro::Task<> startRestore(std::optional<QString> imagePath, ConnectedWatch watch);
    // Interrupts the running tool (SIGINT).
    void cancelRestore();

signals:
    void isValidatingChanged();
    void isRestoringChanged();
    void logTextChanged();
    void lastErrorChanged();
    void completedSuccessfullyChanged();

private:
    bool m_isValidating = false;
    bool m_isRestoring = false;
    QString m_logText;
    std::optional<QString> m_lastError;
    bool m_completedSuccessfully = false;
    QPointer<QProcess> m_process;
};
