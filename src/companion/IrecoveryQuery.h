#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <variant>

// Asks the real `irecovery -q` beside this tool which device is attached in Recovery, DFU or
// KIS mode. irecovery reports at most one device: the first it can open.
namespace IrecoveryQuery {

struct Device {
    QString ecid;                       // as Configurator writes it: "0x", upper-case hex, no leading zeros
    std::optional<QString> productType; // absent when this irecovery does not know the device
};
struct NoDevice {};
struct Failure {
    QString message;
};
using Answer = std::variant<Device, NoDevice, Failure>;

// How one finished run of `irecovery -q` went.
struct Run {
    int status = 0;
    QByteArray standardOutput;
    QByteArray standardError;
};

// "ERROR: Unable to connect to device" with a failure status is how irecovery says that
// nothing is attached, after its retries of about six seconds. The same words also come when
// a device is there but cannot be opened (no permission for the USB device): listing nothing
// then is still right, since Configurator lists only devices it can talk to, and the
// application already knows from the bus that something is attached. Any other failure, or a
// listing without a readable ECID, means the tool itself is not working.
Answer interpret(const Run &run);

// Runs bin/irecovery -q beside this tool and interprets it; a missing tool, one that cannot
// start, crashes or hangs is a failure.
Answer ask();

} // namespace IrecoveryQuery
