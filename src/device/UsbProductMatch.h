#pragma once

#include <QList>
#include <QString>

#include <optional>

// Finds the product IDs of interest in a USB listing: text in which each attached device's
// product ID appears as `"idProduct" = ` followed by the ID in decimal (the form of ioreg).
namespace UsbProductMatch {

// The product ID of a watch attached through its Debug USB port in KIS/DFU mode.
inline constexpr int kisProductID = 6273;

// `"idProduct" = ` and the ID in decimal without leading zeros.
QString pattern(int productID);

// The first ID of `productIDs`, in list order, whose pattern occurs in `listing` (plain,
// case-sensitive substring: a longer ID beginning with the same digits matches too).
std::optional<int> firstListed(const QString &listing, const QList<int> &productIDs);

// Whether the listing shows a KIS device; this wins over any other listed ID.
bool listsKIS(const QString &listing);

} // namespace UsbProductMatch
