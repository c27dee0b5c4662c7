#pragma once

#include <QMetaType>
#include <QString>

// How a watch is restored: idevicerestore over Recovery/DFU, or Apple Configurator for a watch
// on its Debug USB port (KIS), which can also fetch the system itself.
enum class WatchTransport { recoveryDfu, kis };

// The watch currently attached in a restorable mode, as the device monitor publishes it.
struct ConnectedWatch {
    QString productType;
    QString model;
    QString name;
    QString mode;
    QString ecid;
    // The identifying tool's output, unchanged: a repeated detection with any other output
    // counts as a different value.
    QString rawOutput;
    // Decided once, where the watch is identified; `mode` is only the text shown for it.
    WatchTransport transport = WatchTransport::recoveryDfu;

    friend bool operator==(const ConnectedWatch &, const ConnectedWatch &) = default;
};

Q_DECLARE_METATYPE(ConnectedWatch)
