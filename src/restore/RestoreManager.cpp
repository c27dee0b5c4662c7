#include "restore/RestoreManager.h"

#include "app/records/StudioError.h"
#include "restore/IpswInfo.h"
#include "tools/ProcessRunner.h"
#include "tools/ToolLocator.h"

#include <QDir>
#include <QFileInfo>

RestoreManager::RestoreManager(QObject *parent)
    : QObject(parent), m_logText(QStringLiteral("Corvalin Studio готов к работе.\n"))
{}

RestoreManager::~RestoreManager() = default;

void RestoreManager::appendLog(const QString &text)
{
    // QString grows geometrically, so each append costs the chunk, not the whole log.
    m_logText += text;
    if (!text.endsWith(u'\n'))
        m_logText += u'\n';
    emit logTextChanged();
}

void RestoreManager::setIsValidating(bool validating)
{
    m_isValidating = validating;
    emit isValidatingChanged();
}

void RestoreManager::setIsRestoring(bool restoring)
{
    m_isRestoring = restoring;
    emit isRestoringChanged();
}

void RestoreManager::setLastError(std::optional<QString> error)
{
    m_lastError = std::move(error);
    emit lastErrorChanged();
}

void RestoreManager::setCompletedSuccessfully(bool completed)
{
    m_completedSuccessfully = completed;
    emit completedSuccessfullyChanged();
}

QCoro::Task<bool> RestoreManager::validate(QString imagePath, QString productType)
{
    const QPointer<RestoreManager> self(this);
    setIsValidating(true);
    setLastError(std::nullopt);
    appendLog(QStringLiteral("Проверка ") + QFileInfo(imagePath).fileName() + u'\u2026');

    const QString tool = QDir(ToolLocator::toolsRoot()).filePath(QStringLiteral("bin/idevicerestore"));
    const QStringList arguments{QStringLiteral("--ipsw-info"), imagePath};
    const ProcessResult result = co_await ProcessRunner::run(tool, arguments);
    if (!self)
        co_return false;

    setIsValidating(false);
    appendLog(result.output);
    if (result.status != 0) {
        setLastError(QStringLiteral("Файл повреждён, является OTA или не поддерживается."));
        co_return false;
    }
    if (!IpswInfo::listsProductType(result.output, productType)) {
        setLastError(StudioError::incompatibleIPSW(productType).errorDescription());
        co_return false;
    }
    appendLog(QStringLiteral("Совместимость подтверждена: ") + productType + u'.');
    co_return true;
}
