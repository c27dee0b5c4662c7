#include "device/UsbProductMatch.h"

namespace UsbProductMatch {

QString pattern(int productID)
{
    return QStringLiteral("\"idProduct\" = ") + QString::number(productID);
}

std::optional<int> firstListed(const QString &listing, const QList<int> &productIDs)
{
    for (const int productID : productIDs) {
        if (listing.contains(pattern(productID)))
            return productID;
    }
    return std::nullopt;
}

bool listsKIS(const QString &listing)
{
    return listing.contains(pattern(kisProductID));
}

} // namespace UsbProductMatch
