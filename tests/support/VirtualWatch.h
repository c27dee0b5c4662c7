#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

class TestPaths;

// One simulated watch on the USB bus, for the real irecovery and idevicerestore: the test copy of
// the Tools folder gets the virtual watch library as lib/libusb-1.0.so.0 (libirecovery's RUNPATH
// finds it before the system's libusb), and two environment variables, inherited by every tool
// the application starts, name the watch's state folder and the sysfs view the device monitor
// reads. The watch re-enumerates as a real one does (DFU -> recovery after iBSS, recovery ->
// recovery after iBEC, gone after bootx) and logs every upload, command and mode change.
// Linux only (elsewhere libirecovery does not use libusb): see available().
class VirtualWatch {
public:
    enum class Mode { None, Recovery, Dfu, Kis };

    // The chip and board irecovery names the watch by: a Series 6 (40 mm), Watch6,1, unless set.
    struct Identity {
        quint32 chipId = 0x8301;
        quint32 boardId = 0x08;
        quint64 ecid = 0x1A2B3C4D5E6F;
    };

    struct Faults {
        int vanishAfterUpload = 0;      // gone for good once this many uploads are complete (from attach)
        bool neverComeBack = false;     // the next reset or "go" takes it off the bus for good
        QByteArray nonceAfterIbss = {}; // hexadecimal ApNonce it shows once iBSS runs
    };

    static constexpr const char *stateVariable = "CORVALIN_VIRTUAL_WATCH";
    static constexpr const char *usbViewVariable = "CORVALIN_VIRTUAL_WATCH_USB";

    // Sets the two variables in this process's environment (the application passes it on to its
    // tools) for the watch's folder under paths.root() and paths.usbDevices(); unset again by the
    // destructor. No watch is attached yet: the bus is empty.
    explicit VirtualWatch(const TestPaths &paths);
    ~VirtualWatch();
    VirtualWatch(const VirtualWatch &) = delete;
    VirtualWatch &operator=(const VirtualWatch &) = delete;

    // Whether this build has the virtual watch library (Linux) and a Tools folder to put it in,
    // and why the tests that need them are skipped when it has not.
    static bool available();
    static const char *unavailableMessage();
    // Copies the built Tools folder into paths' tools folder, with the virtual watch as its libusb.
    bool installTools();

    // Puts the watch on the bus in `mode`, forgetting earlier uploads and faults.
    void attach(Mode mode, const Identity &identity);
    void attach(Mode mode); // a Series 6 with the default identity
    void setFaults(const Faults &faults);

    // The transfer log, one entry a line:
    //   "arrive recovery ibec"        on the bus in that mode, running that stage (iboot, ibss, ibec)
    //   "leave"                       off the bus
    //   "upload recovery 583 ibec"    an upload complete: mode, payload bytes, Image4 type or "-"
    //   "command setenv auto-boot false", "command go", "command bootx", "command getenv boot-stage"
    //   "reset", "claim busy 0", "kis device-info"
    //   "fault vanish", "fault no-return"
    QStringList log() const;
    // Whether the log has a line that starts with `prefix`.
    bool logged(const QString &prefix) const;

private:
    const TestPaths &m_paths;
    QString m_folder;
};
