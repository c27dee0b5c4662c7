#pragma once

#include <QString>
#include <QWidget>

class DownloadManager;
class QLabel;
class QProgressBar;
class SymbolLabel;

// A running download: its status, the whole percentage, a bar and a cancel button.
class DownloadCard final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DownloadCard)

public:
    explicit DownloadCard(DownloadManager *downloader, QWidget *parent = nullptr);
    ~DownloadCard() override;

    // progress times 100, truncated toward zero, with a percent sign: 0.999 reads 99%.
    static QString percentText(double progress);

private:
    void refresh();

    DownloadManager *m_downloader;
    SymbolLabel *m_status;
    QLabel *m_percent;
    QProgressBar *m_bar;
};
