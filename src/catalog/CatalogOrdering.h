#pragma once

#include "app/records/WatchFirmware.h"
#include "catalog/AppleDBRecords.h"

#include <QList>
#include <QStringView>
#include <QtGlobal>

// The orderings the catalogue is reduced with. All sorts are stable: elements that do not
// precede each other keep their order from the input, which is the catalogue's order.
namespace CatalogOrdering {

// "Watch6,14" gives 6, 14: "Watch" removed, split at commas (empty pieces dropped), each
// piece's integer value or 0 when it is not an integer.
QList<qint64> productSortKey(QStringView productType);
// Element by element; a key that is a prefix of the other precedes it.
bool sortKeyPrecedes(const QList<qint64> &a, const QList<qint64> &b);

// For each date, its place among the distinct dates in text order (0 for the first; Unicode
// scalar values after canonical composition, which is byte order for ASCII dates), so that
// two dates compare as two integers afterwards: a model offered by many releases, or many times
// by one release with a long date, costs a comparison of integers per offer, not of texts. Texts
// that are equal after canonical composition share a place.
QList<qsizetype> dateRanks(const QList<QString> &dates);

// Links marked preferred first, otherwise in catalogue order.
void orderByLinkPreference(QList<AppleDBLink> &links);
// Ascending by product sort key: Watch1,1 … Watch6,2 … Watch6,14 … Watch7,1.
void orderByModel(QList<WatchFirmware> &firmware);

} // namespace CatalogOrdering
