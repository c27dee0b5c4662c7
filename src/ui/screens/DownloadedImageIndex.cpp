#include "ui/screens/DownloadedImageIndex.h"

#include "app/model/StudioModel.h"
#include "app/records/CacheFileName.h"
#include "download/DownloadManager.h"
#include "tools/ToolLocator.h"

#include <QDir>
#include <QGuiApplication>

DownloadedImageIndex::DownloadedImageIndex(StudioModel *model, QObject *parent) : QObject(parent)
{
    // Every change the catalogue redraws for asks the folder again, the selection included, which
    // the device poll re-publishes each cycle: a file put there by hand shows within a cycle.
    for (const auto signal : {&StudioModel::firmwareChanged, &StudioModel::selectedFirmwareChanged,
                              &StudioModel::searchTextChanged, &StudioModel::isLoadingCatalogChanged,
                              &StudioModel::selectedIPSWChanged})
        connect(model, signal, this, &DownloadedImageIndex::refresh);
    connect(model->downloader(), &DownloadManager::isDownloadingChanged, this,
            &DownloadedImageIndex::refresh);
    connect(model->downloader(), &DownloadManager::downloadedURLChanged, this,
            &DownloadedImageIndex::refresh);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive)
            refresh();
    });
    refresh();
}

DownloadedImageIndex::~DownloadedImageIndex() = default;

bool DownloadedImageIndex::contains(const WatchFirmware &firmware) const
{
    return CacheFileName::isPlain(firmware.filename) && m_names.contains(firmware.filename);
}

void DownloadedImageIndex::refresh()
{
    // What the download manager's own look-up counts: regular files under exactly that name, not
    // a symbolic link planted there nor a file whose name differs only in case.
    const QStringList entries =
        QDir(ToolLocator::cacheDirectoryPath()).entryList(QDir::Files | QDir::Hidden | QDir::NoSymLinks);
    QSet<QString> names(entries.cbegin(), entries.cend());
    if (names == m_names)
        return;
    m_names = std::move(names);
    emit changed();
}
