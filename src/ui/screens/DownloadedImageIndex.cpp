#include "ui/screens/DownloadedImageIndex.h"

#include "app/StudioModel.h"
#include "download/CacheFileName.h"
#include "download/DownloadManager.h"
#include "tools/ToolLocator.h"

#include <QDir>
#include <QGuiApplication>

namespace {

// The name as the file system compares it: macOS folders ignore case by default.
QString comparable(const QString &name)
{
#ifdef Q_OS_MACOS
    return name.toCaseFolded();
#else
    return name;
#endif
}

} // namespace

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
    return CacheFileName::isPlain(firmware.filename) && m_names.contains(comparable(firmware.filename));
}

void DownloadedImageIndex::refresh()
{
    // Any kind of entry counts, as a plain existence check would; a dangling link does not.
    const QStringList entries = QDir(ToolLocator::cacheDirectoryPath())
                                    .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    QSet<QString> names;
    names.reserve(entries.size());
    for (const QString &entry : entries)
        names.insert(comparable(entry));
    if (names == m_names)
        return;
    m_names = std::move(names);
    emit changed();
}
