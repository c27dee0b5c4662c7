#include "app/FirmwareSearch.h"

namespace FirmwareSearch {

QString query(const QString &searchText)
{
    return searchText.trimmed();
}

// Compared without lower-cased copies, so filtering a long list allocates nothing per record.
bool matches(const WatchFirmware &record, const QString &query)
{
    return query.isEmpty() || record.productType.contains(query, Qt::CaseInsensitive) ||
           record.deviceName.contains(query, Qt::CaseInsensitive) ||
           record.version.contains(query, Qt::CaseInsensitive);
}

} // namespace FirmwareSearch
