#pragma once

#include <QCoroTask>
#include <QList>
#include <QString>
#include <QStringList>

// The table of known devices that `irecovery --devices` prints, one device a line:
// product type, hardware model, board ID, chip ID and display name, separated by spaces.
namespace DeviceTable {

struct Row {
    QString productType;
    QString hardwareModel;
    QString boardID;
    QString chipID;
    QString name; // the rest of the line as printed, inner spaces kept, not trimmed
};

// Splits at spaces into at most five pieces: runs of spaces give no empty pieces among the
// first four, and the fifth piece is the untrimmed rest after the fourth separator.
QStringList splitLine(const QString &line);

// Every line (split at line feeds, empty lines dropped) that yields exactly five pieces.
QList<Row> parse(const QString &output);

// Runs bin/irecovery --devices from the tools folder; the output whatever the exit status
// (or the runner's explanation when the tool could not be started).
QCoro::Task<QString> fetch();

} // namespace DeviceTable
