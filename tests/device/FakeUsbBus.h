#pragma once

#include "device/UsbProductMatch.h"
#include "support/FakeTools.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"

#include <QByteArrayList>
#include <QDir>

// Puts devices with these hexadecimal product IDs on the fake USB bus, replacing any others.
// Both listings get them, the sysfs tree and a fake ioreg, so the monitor finds the same bus
// on Linux and on macOS.
inline void attachUsbDevices(const TestPaths &paths, const QByteArrayList &hexProductIDs)
{
    QDir bus(paths.usbDevices());
    bus.removeRecursively();
    bus.mkpath(QStringLiteral("usb1"));
    QByteArray ioregListing = "+-o Root  <class IORegistryEntry>\n";
    int port = 1;
    for (const QByteArray &productID : hexProductIDs) {
        const QString device = QStringLiteral("1-%1").arg(port++);
        bus.mkpath(device + QStringLiteral(":1.0")); // an interface, which has no idProduct
        bus.mkpath(device);
        if (!writeFile(bus.filePath(device + QStringLiteral("/idProduct")), productID + '\n'))
            qFatal("cannot write the fake bus");

        const int decimal = productID.toInt(nullptr, 16);
        ioregListing += "  | {\n  |   " + UsbProductMatch::pattern(decimal).toUtf8() + "\n  | }\n";
    }
    FakeTools::write(paths.ioreg(), FakeToolBehaviour::printing(ioregListing));
}
