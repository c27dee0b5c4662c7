#include "app/model/FirmwareSearch.h"

namespace FirmwareSearch {

namespace {
// Never typed into a one-line search field, so a query never spans two fields.
constexpr QChar fieldSeparator = u'\n';
} // namespace

QString query(const QString &searchText)
{
    return searchText.trimmed();
}

// Compared without lower-cased copies, so filtering allocates nothing per record.
bool matches(const WatchFirmware &record, const QString &query)
{
    return query.isEmpty() || record.productType.contains(query, Qt::CaseInsensitive) ||
           record.deviceName.contains(query, Qt::CaseInsensitive) ||
           record.version.contains(query, Qt::CaseInsensitive);
}

QString foldedFields(const WatchFirmware &record)
{
    return (record.productType + fieldSeparator + record.deviceName + fieldSeparator + record.version)
        .toCaseFolded();
}

std::optional<QString> foldedQuery(const QString &query)
{
    if (query.contains(fieldSeparator))
        return std::nullopt;
    return query.toCaseFolded();
}

bool matchesFolded(const QString &foldedFields, const QString &foldedQuery)
{
    return foldedFields.contains(foldedQuery);
}

} // namespace FirmwareSearch
