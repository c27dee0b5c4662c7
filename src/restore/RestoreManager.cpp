#include "restore/RestoreManager.h"

RestoreManager::RestoreManager(QObject *parent)
    : QObject(parent), m_logText(QStringLiteral("Corvalin Studio готов к работе.\n"))
{}

RestoreManager::~RestoreManager() = default;

void RestoreManager::appendLog(const QString &text)
{
    m_logText += text;
    if (!text.endsWith(u'\n'))
        m_logText += u'\n';
    emit logTextChanged();
}

QCoro::Task<bool> RestoreManager::validate(QString, QString)
{
    co_return false;
}

QCoro::Task<> RestoreManager::startRestore(std::optional<QString>, ConnectedWatch)
{
    co_return;
}

void RestoreManager::cancelRestore() {}
