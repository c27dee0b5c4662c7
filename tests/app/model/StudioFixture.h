#pragma once

#include "app/model/StudioModel.h"
#include "device/DeviceMonitor.h"
#include "device/FakeUsbBus.h"
#include "restore/RestoreManager.h"
#include "support/FakeTools.h"
#include "support/LocalHttpServer.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"

#include <QCoroTask>
#include <QDir>
#include <QTest>

#include <memory>

// The servers, the tools folder and one model, as the application would have them: the catalogue
// and the images come from local servers, the watch from a fake bus and a fake irecovery, and
// checksums from the real shasum.
class StudioFixture {
public:
    StudioFixture()
    {
        LocalHttpServer::trustTestCertificate();
        m_model = std::make_unique<StudioModel>(catalogServer.url(catalogPath),
                                                QStringList{QStringLiteral("127.0.0.1")});
        FakeTools::write(paths.shasum(), FakeToolBehaviour::running("exec /usr/bin/shasum \"$@\""));
        // irecovery identifies a Series 6 in Recovery and answers the model-name table.
        FakeToolBehaviour irecovery;
        irecovery.extraShell = "case \"$1\" in\n"
                               "-q) printf 'MODE: Recovery\\nPRODUCT: Watch6,1\\nNAME: Apple Watch "
                               "Series 6\\nECID: 0x1A2B3C\\n';;\n"
                               "--devices) printf 'Watch3,1 n111sap 0x1c 0x8004 Apple Watch Series 3 "
                               "(38mm Cellular)\\nWatch5,9 n146sap 0x10 0x8006 Apple Watch SE (40mm)\\n"
                               "Watch6,1 n157sap 0x08 0x8301 Apple Watch Series 6 (40mm)\\n';;\n"
                               "esac";
        FakeTools::write(paths.tool(QStringLiteral("bin/irecovery")), irecovery);
    }

    ~StudioFixture()
    {
        // A restore tool still waiting is interrupted, so no child outlives the test.
        if (m_model->restoreManager()->isRestoring()) {
            m_model->restoreManager()->cancelRestore();
            QTRY_VERIFY(!m_model->restoreManager()->isRestoring());
        }
    }

    StudioModel *model() const { return m_model.get(); }

    // Serves the catalogue document, where each @ stands for the image server's address.
    void serveCatalog(QByteArray records)
    {
        records.replace('@', imageServer.url(QString()).toString().toUtf8());
        catalogServer.setResponse(catalogPath, HttpResponse::ok(records));
    }

    void refresh() { QCoro::waitFor(m_model->refreshCatalog()); }

    // Puts the Series 6 in Recovery on the bus, or a watch of that model in KIS with Configurator
    // listing it, and lets the monitor find it.
    void attachRecoveryWatch() { attachWatch("1281"); }
    void attachKISWatch()
    {
        FakeTools::write(paths.cfgutil(), FakeToolBehaviour::printing(R"({"Output":{"0xB24F61A9C0D5E":)"
                                                                      R"({"deviceType":"Watch6,1",)"
                                                                      R"("ECID":"0xB24F61A9C0D5E"}}})"));
        attachWatch("1881");
    }

    QString cachedPath(const QString &fileName) const
    {
        return QDir(paths.downloads()).filePath(QStringLiteral("Corvalin Firmware/") + fileName);
    }

    void putInCache(const QString &fileName)
    {
        QDir().mkpath(QFileInfo(cachedPath(fileName)).absolutePath());
        QVERIFY(writeFile(cachedPath(fileName), "image"));
    }

    // An image of the Downloads folder, picked through the chooser.
    void chooseImage(const QString &fileName)
    {
        const QString path = QDir(paths.downloads()).filePath(fileName);
        QVERIFY(writeFile(path, "image"));
        m_model->setManualIPSWChooser([path] { return ManualIPSWChoice{true, path}; });
        m_model->chooseManualIPSW();
    }

    // The restore tool: its image check vouches for the Series 6, after a moment when `slowCheck`;
    // the restore prints two lines, then succeeds, or waits until interrupted.
    void installRestoreTool(bool waitForInterrupt, bool slowCheck = false)
    {
        FakeToolBehaviour tool;
        tool.extraShell = QByteArray("case \"$1\" in\n--ipsw-info) ") + (slowCheck ? "sleep 0.3; " : "") +
                          "printf 'Supported Product Types: Watch6,1\\n';;\n"
                          "*) printf 'Extracting filesystem\\nSending RestoreFirmware\\n'" +
                          (waitForInterrupt ? "; exec sleep 60;;\n" : ";;\n") + "esac";
        FakeTools::write(paths.tool(QStringLiteral("bin/idevicerestore")), tool);
    }

    // Restores the attached watch from the selected image.
    void startRestore()
    {
        const auto watch = m_model->deviceMonitor()->connectedWatch();
        QVERIFY(watch.has_value());
        QCoro::waitFor(m_model->restoreManager()->startRestore(m_model->selectedIPSW(), *watch));
    }

    QStringList restoreToolArguments() const
    {
        return FakeTools::recordedArguments(paths.tool(QStringLiteral("bin/idevicerestore")));
    }

    QStringList logLines() const
    {
        return m_model->restoreManager()->logText().split(u'\n', Qt::SkipEmptyParts);
    }

    // The restore tool's log file named on the starting line.
    QString announcedLogFile() const
    {
        return m_model->restoreManager()
            ->logText()
            .section(QStringLiteral("Журнал: "), 1)
            .section(u'\n', 0, 0);
    }

    const QString catalogPath = QStringLiteral("/ios/watchOS/main.json");
    TestPaths paths;
    LocalHttpServer catalogServer;
    LocalHttpServer imageServer{LocalHttpServer::Transport::tls};

private:
    void attachWatch(const QByteArray &hexProductID)
    {
        attachUsbDevices(paths, {hexProductID});
        QCoro::waitFor(m_model->deviceMonitor()->poll());
        QVERIFY(m_model->deviceMonitor()->connectedWatch().has_value());
    }

    std::unique_ptr<StudioModel> m_model;
};
