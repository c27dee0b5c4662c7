#include "ScreenStudio.h"

#include "download/DownloadManager.h"
#include "ui/Theme.h"
#include "ui/UiTestSupport.h"

namespace {

constexpr qint64 stalledImageSize = 1000;
constexpr qint64 stalledImageSentBytes = 426;

} // namespace

ScreenStudio::ScreenStudio()
{
    Theme::applyDarkAppearance(*qApp); // the screens look as the application shows them
}

void ScreenStudio::loadCatalog()
{
    serveCatalog(R"([
{"version":"8.8.1","build":"19U512","released":"2023-07-24","deviceMap":["Watch3,1"],"signed":true,
 "sources":[{"type":"ipsw","deviceMap":["Watch3,1"],"size":3140000000,
             "links":[{"url":"@/Watch3,1_8.8.1_Restore.ipsw"}]}]},
{"version":"9.6.3","build":"20U502","released":"2024-01-22","deviceMap":["Watch5,9"],"signed":false,
 "sources":[{"type":"ipsw","deviceMap":["Watch5,9"],"size":3520000000,
             "links":[{"url":"@/Watch5,9_9.6.3_Restore.ipsw"}]}]},
{"version":"10.2","build":"21S364","released":"2023-12-11","deviceMap":["Watch6,1"],"signed":false,
 "sources":[{"type":"ipsw","deviceMap":["Watch6,1"],"size":3870000000,
             "links":[{"url":"@/Watch6,1_10.2_Restore.ipsw"}]}]},
{"version":"10.6.1","build":"21U580","released":"2024-09-16","deviceMap":["Watch6,1"],"signed":true,
 "sources":[{"type":"ota","deviceMap":["Watch6,1"],"size":1000000,
             "links":[{"url":"@/Watch6,1_10.6.1.zip"}]}]}])");
    refresh();
    QCOMPARE(model()->firmware().size(), 3);
}

const WatchFirmware &ScreenStudio::firmware(const QString &productType) const
{
    for (const WatchFirmware &record : model()->firmware())
        if (record.productType == productType)
            return record;
    qFatal("no firmware for %s", qPrintable(productType));
}

void ScreenStudio::startStalledDownload()
{
    HttpResponse response = HttpResponse::ok(QByteArray(stalledImageSize, 'x'));
    response.stallAfterBytes = stalledImageSentBytes;
    imageServer.setResponse(QStringLiteral("/Watch3,1_8.8.1_Restore.ipsw"), response);
    model()->select(firmware(QStringLiteral("Watch3,1")));
    model()->requestDownloadSelected();
    QTRY_COMPARE(model()->downloader()->progress(), double(stalledImageSentBytes) / stalledImageSize);
}

void ScreenStudio::render(QWidget *screen, const QString &name)
{
    screen->show();
    // A change to a screen already on show settles over a few rounds of layout requests.
    QTest::qWait(100);
    renderAt1xAnd2x(screen, QStringLiteral("screens/") + name, Theme::studioBackground(),
                    QWidget::DrawChildren);
}
