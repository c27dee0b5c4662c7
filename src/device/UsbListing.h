#pragma once

#include <QCoroTask>
#include <QString>

// The listing of attached USB devices that the monitor scans for product IDs. macOS prints it
// with ioreg; Linux has no ioreg, so the same kind of text is built from sysfs there.
namespace UsbListing {

// The platform's listing: ioreg on macOS, sysfs elsewhere. Never fails: a listing that cannot
// be obtained is a text that names no device.
QCoro::Task<QString> fetch();

// `ioreg -p IOUSB -l -w0` through the process runner, its output whatever the exit status.
QCoro::Task<QString> fromIoreg();

// One `"idProduct" = <decimal>` line per device folder under `devicesFolder` whose idProduct
// file holds a hexadecimal ID, in folder name order.
QString fromSysfs(const QString &devicesFolder);

} // namespace UsbListing
