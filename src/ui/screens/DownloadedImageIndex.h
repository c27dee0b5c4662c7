#pragma once

#include "app/records/WatchFirmware.h"

#include <QObject>
#include <QSet>
#include <QString>

class StudioModel;

// Which firmware images are in the cache folder, read in one listing on every change the
// catalogue is redrawn for (the list, the search, the selection, the chosen image, a download
// starting or ending) and when the user comes back to the window, perhaps from the file manager,
// so that painting or scrolling a row never asks the disk. A missing folder is not created: it
// simply holds nothing.
class DownloadedImageIndex final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DownloadedImageIndex)

public:
    explicit DownloadedImageIndex(StudioModel *model, QObject *parent = nullptr);
    ~DownloadedImageIndex() override;

    bool contains(const WatchFirmware &firmware) const;
    // Reads the folder again; emits changed when what it holds differs from before.
    void refresh();

signals:
    void changed();

private:
    QSet<QString> m_names;
};
