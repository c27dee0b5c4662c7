#include "download/DownloadManager.h"

DownloadManager::DownloadManager(QObject *parent)
    : QObject(parent), m_statusText(QStringLiteral("Готово к загрузке"))
{}

DownloadManager::~DownloadManager() = default;

std::optional<QString> DownloadManager::existingFile(const WatchFirmware &) const
{
    return std::nullopt;
}

void DownloadManager::start(const WatchFirmware &, DownloadCompletion) {}

void DownloadManager::cancel() {}
