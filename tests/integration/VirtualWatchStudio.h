#pragma once

#include "app/model/StudioFixture.h"
#include "support/RestoreImage.h"
#include "support/SigningServer.h"
#include "support/VirtualWatch.h"

// The application with the real Tools folder and a virtual watch on its bus: the tools load the
// watch as their libusb, ask the signing-server stand-in for tickets and unpack the synthetic
// images the tests write.
//
// idevicerestore ends a restore waiting up to five minutes for the watch to come back in restore
// mode through usbmuxd. The tests end that wait with the stop button, as a technician would: the
// patched tool notices the interrupt within a second. A usbmuxd stand-in that refuses the
// restore connection could end it too, but restore mode itself is beyond what a simulation can
// show, and the stop path is the one the application has to get right. The test paths point the
// tools' usbmuxd at a socket nothing serves, so no test reaches the system's usbmuxd.
class VirtualWatchStudio : public StudioFixture {
public:
    static constexpr const char *waitingLine = "Waiting for device to enter restore mode...";

    VirtualWatchStudio() : watch(paths)
    {
        if (!watch.installTools())
            qFatal("the virtual watch's Tools folder could not be made");
        // The KIS companion beside the real tools, where the application looks for it on Linux.
        const QString companion = paths.tool(QStringLiteral("bin/cfgutil"));
        if (!QFile::copy(QStringLiteral(CORVALIN_CFGUTIL), companion))
            qFatal("the KIS companion could not be copied");
        paths.setConfiguratorTool(companion);
        // The Series 3 is selected until a watch of another model is found.
        serveCatalog(R"([
{"version":"8.8.1","build":"19U512","released":"2023-07-24","deviceMap":["Watch3,1"],"signed":true,
 "sources":[{"type":"ipsw","deviceMap":["Watch3,1"],"links":[{"url":"@/Watch3,1_8.8.1_Restore.ipsw"}]}]},
{"version":"10.0.2","build":"21R371","released":"2023-10-04","deviceMap":["Watch6,1"],"signed":true,
 "sources":[{"type":"ipsw","deviceMap":["Watch6,1"],"links":[{"url":"@/Watch6,1_10.0.2_Restore.ipsw"}]}]},
{"version":"26.1","build":"23S37","released":"2026-11-03","deviceMap":["Watch8,1"],"signed":true,
 "sources":[{"type":"ipsw","deviceMap":["Watch8,1"],"links":[{"url":"@/Watch8,1_26.1_Restore.ipsw"}]}]}])");
        refresh();
    }

    ~VirtualWatchStudio()
    {
        if (model()->restoreManager()->isRestoring())
            model()->restoreManager()->forceEnd();
    }

    RestoreManager *restore() const { return model()->restoreManager(); }
    DeviceMonitor *monitor() const { return model()->deviceMonitor(); }

    // Puts the watch on the bus and lets the monitor find it; the model follows it as the window
    // makes it do.
    void attach(VirtualWatch::Mode mode, const VirtualWatch::Identity &identity = {})
    {
        watch.attach(mode, identity);
        QCoro::waitFor(monitor()->poll());
        model()->syncConnectedDevice(monitor()->connectedWatch());
    }

    // Writes the synthetic image of the watch's model and picks it through the chooser.
    void chooseSyntheticImage()
    {
        const QString path = paths.downloads() + QStringLiteral("/Watch6,1_10.0.2_Restore.ipsw");
        if (!RestoreImage::write(path, RestoreImage::series6()))
            qFatal("the synthetic image could not be written");
        model()->setManualIPSWChooser([path] { return ManualIPSWChoice{true, path}; });
        model()->chooseManualIPSW();
    }

    // Whether the log has the line, whole.
    bool logHas(const QString &line) const { return logLines().contains(line); }

    // Presses stop; whether the tool ended within 15 s.
    bool stop()
    {
        restore()->cancelRestore();
        return QTest::qWaitFor([this] { return !restore()->isRestoring(); }, 15000);
    }

    SigningServer signing;
    VirtualWatch watch;
};
