#include "ScreenStudio.h"

#include "device/DeviceMonitor.h"
#include "download/DownloadManager.h"
#include "restore/RestoreManager.h"
#include "support/FakeTools.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QCoroTask>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QTest>
#include <QWidget>

namespace {

const QString catalogPath = QStringLiteral("/ios/watchOS/main.json");
constexpr qint64 stalledImageSize = 1000;
constexpr qint64 stalledImageSentBytes = 426;

void writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

} // namespace

ScreenStudio::ScreenStudio()
{
    LocalHttpServer::trustTestCertificate();
    Theme::applyDarkAppearance(*qApp); // the screens look as the application shows them
    m_model = std::make_unique<StudioModel>(m_catalogServer.url(catalogPath),
                                            QStringList{QStringLiteral("127.0.0.1")});
    // irecovery answers both the identification and the model-name table.
    FakeToolBehaviour irecovery;
    irecovery.extraShell =
        "case \"$1\" in\n"
        "-q) printf 'MODE: Recovery\\nPRODUCT: '\"$CORVALIN_TEST_WATCH\"'\\nNAME: Apple Watch "
        "Series 6\\nECID: 0x1A2B3C\\n';;\n"
        "--devices) printf 'Watch3,1 n111sap 0x1c 0x8004 Apple Watch Series 3 (38mm Cellular)\\n"
        "Watch5,9 n146sap 0x10 0x8006 Apple Watch SE (40mm)\\n"
        "Watch6,1 n157sap 0x08 0x8301 Apple Watch Series 6 (40mm)\\n';;\n"
        "esac";
    FakeTools::write(m_paths.tool(QStringLiteral("bin/irecovery")), irecovery);
}

ScreenStudio::~ScreenStudio()
{
    // A restore tool still waiting is interrupted, so no child outlives the test.
    if (m_model->restoreManager()->isRestoring()) {
        m_model->restoreManager()->cancelRestore();
        QTRY_VERIFY(!m_model->restoreManager()->isRestoring());
    }
    qunsetenv("CORVALIN_TEST_WATCH");
}

void ScreenStudio::loadCatalog()
{
    QByteArray records = R"([
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
             "links":[{"url":"@/Watch6,1_10.6.1.zip"}]}]}])";
    records.replace('@', m_imageServer.url(QString()).toString().toUtf8());
    m_catalogServer.setResponse(catalogPath, HttpResponse::ok(records));
    QCoro::waitFor(m_model->refreshCatalog());
    QCOMPARE(m_model->firmware().size(), 3);
}

const WatchFirmware &ScreenStudio::firmware(const QString &productType) const
{
    for (const WatchFirmware &record : m_model->firmware())
        if (record.productType == productType)
            return record;
    qFatal("no firmware for %s", qPrintable(productType));
}

void ScreenStudio::putInCache(const WatchFirmware &firmware)
{
    writeFile(QDir(m_paths.downloads()).filePath(QStringLiteral("Corvalin Firmware/") + firmware.filename),
              "image");
}

void ScreenStudio::chooseImage(const QString &fileName)
{
    const QString path = QDir(m_paths.downloads()).filePath(fileName);
    writeFile(path, "image");
    m_model->setManualIPSWChooser([path] { return ManualIPSWChoice{true, path}; });
    m_model->chooseManualIPSW();
}

void ScreenStudio::attachRecoveryWatch(const QString &productType)
{
    qputenv("CORVALIN_TEST_WATCH", productType.toUtf8());
    writeFile(m_paths.usbDevices() + QStringLiteral("/1-1/idProduct"), "1281\n");
    QCoro::waitFor(m_model->deviceMonitor()->poll());
    QVERIFY(m_model->deviceMonitor()->connectedWatch().has_value());
}

void ScreenStudio::attachKISWatch(const QString &productType)
{
    writeFile(m_paths.usbDevices() + QStringLiteral("/1-1/idProduct"), "1881\n");
    const QByteArray list = "{\"Output\":{\"0xB24F61A9C0D5E\":{\"deviceType\":\"" + productType.toUtf8() +
                            "\",\"ECID\":\"0xB24F61A9C0D5E\"}}}";
    FakeTools::write(m_paths.cfgutil(), FakeToolBehaviour::printing(list));
    QCoro::waitFor(m_model->deviceMonitor()->poll());
    QVERIFY(m_model->deviceMonitor()->connectedWatch().has_value());
}

void ScreenStudio::startStalledDownload()
{
    HttpResponse response = HttpResponse::ok(QByteArray(stalledImageSize, 'x'));
    response.stallAfterBytes = stalledImageSentBytes;
    m_imageServer.setResponse(QStringLiteral("/Watch3,1_8.8.1_Restore.ipsw"), response);
    m_model->select(firmware(QStringLiteral("Watch3,1")));
    m_model->requestDownloadSelected();
    QTRY_COMPARE(m_model->downloader()->progress(), double(stalledImageSentBytes) / stalledImageSize);
}

void ScreenStudio::installRestoreTool(bool waitForInterrupt, int exitStatus)
{
    FakeToolBehaviour tool;
    tool.extraShell = "case \"$1\" in\n"
                      "--ipsw-info) printf 'Supported Product Types: Watch6,1\\n';;\n"
                      "*) printf 'Extracting filesystem\\n'; printf 'Sending RestoreFirmware\\n';" +
                      (waitForInterrupt ? QByteArray(" exec sleep 60;;\n")
                                        : " exit " + QByteArray::number(exitStatus) + ";;\n") +
                      "esac";
    FakeTools::write(m_paths.tool(QStringLiteral("bin/idevicerestore")), tool);
}

void ScreenStudio::installSlowValidationTool()
{
    FakeToolBehaviour tool = FakeToolBehaviour::printing("Supported Product Types: Watch6,1\n");
    tool.secondsBeforeOutput = 0.3;
    FakeTools::write(m_paths.tool(QStringLiteral("bin/idevicerestore")), tool);
}

void ScreenStudio::startRestore()
{
    const auto watch = m_model->deviceMonitor()->connectedWatch();
    QVERIFY(watch.has_value());
    QCoro::waitFor(m_model->restoreManager()->startRestore(m_model->selectedIPSW(), *watch));
}

QStringList ScreenStudio::restoreToolArguments() const
{
    return FakeTools::recordedArguments(m_paths.tool(QStringLiteral("bin/idevicerestore")));
}

void ScreenStudio::render(QWidget *screen, const QString &name)
{
    const QString output = qEnvironmentVariable("CORVALIN_TEST_OUTPUT");
    if (output.isEmpty())
        return;
    const QString folder = output + QStringLiteral("/render/screens");
    QDir().mkpath(folder);
    screen->show();
    // A change to a screen already on show settles over a few rounds of layout requests.
    QTest::qWait(100);
    for (const int scale : {1, 2}) {
        QImage image(screen->size() * scale, QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(scale);
        QPainter painter(&image);
        painter.fillRect(QRect(QPoint(), screen->size()), QBrush(Theme::studioBackground()));
        screen->render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
        painter.end();
        QVERIFY(image.save(QStringLiteral("%1/%2@%3x.png").arg(folder, name).arg(scale)));
    }
}
