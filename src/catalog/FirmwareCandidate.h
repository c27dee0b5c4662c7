#pragma once

#include "catalog/AppleDBRecords.h"

#include <QString>
#include <QUrl>

// One full restore image offered for one product type by one catalogue release; exists only
// while the firmware list is being built.
struct FirmwareCandidate {
    QString productType;
    QString version;
    QString build;
    QString released; // empty when the catalogue gives no date
    bool isSigned = false;
    AppleDBSource source;
    QUrl url;                   // the link chosen for the source
    qsizetype releasedRank = 0; // the date's place in text order among all the catalogue's dates
};
