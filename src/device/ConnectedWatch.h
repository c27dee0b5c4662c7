#pragma once

#include <QMetaType>
#include <QString>

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

    friend bool operator==(const ConnectedWatch &, const ConnectedWatch &) = default;
};

Q_DECLARE_METATYPE(ConnectedWatch)
