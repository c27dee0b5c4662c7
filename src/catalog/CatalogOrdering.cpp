#include "catalog/CatalogOrdering.h"

#include "catalog/SemanticVersion.h"

#include <algorithm>
#include <numeric>

namespace {

// UTF-16 code units sort surrogates (U+D800…U+DFFF) before U+E000…U+FFFF, although the
// scalars they encode are larger; this shift restores scalar order for a differing unit.
char16_t inScalarOrder(char16_t unit)
{
    if (unit >= 0xE000)
        return char16_t(unit - 0x800);
    if (unit >= 0xD800)
        return char16_t(unit + 0x2000);
    return unit;
}

bool isAscii(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
}

QString composed(const QString &text)
{
    return isAscii(text) ? text : text.normalized(QString::NormalizationForm_C);
}

bool scalarsPrecede(QStringView a, QStringView b)
{
    const auto [left, right] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (right == b.end())
        return false;
    if (left == a.end())
        return true;
    return inScalarOrder(left->unicode()) < inScalarOrder(right->unicode());
}

// Stable sort of `items` by precomputed keys, so each key is computed once, not per comparison.
template <typename T, typename Key, typename Precedes>
void stableOrderByKeys(QList<T> &items, const QList<Key> &keys, Precedes precedes)
{
    QList<qsizetype> order(items.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](qsizetype a, qsizetype b) { return precedes(keys.at(a), keys.at(b)); });
    QList<T> sorted;
    sorted.reserve(items.size());
    for (const qsizetype index : order)
        sorted.append(std::move(items[index]));
    items = std::move(sorted);
}

} // namespace

namespace CatalogOrdering {

QList<qint64> productSortKey(QStringView productType)
{
    const QString digits = productType.toString().remove(QStringLiteral("Watch"));
    QList<qint64> key;
    for (const QStringView piece : QStringView(digits).split(u',', Qt::SkipEmptyParts))
        key << parseIntegerPiece(piece).value_or(0);
    return key;
}

bool sortKeyPrecedes(const QList<qint64> &a, const QList<qint64> &b)
{
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
}

bool textPrecedes(const QString &a, const QString &b)
{
    return scalarsPrecede(composed(a), composed(b));
}

void orderByReleaseDate(QList<FirmwareCandidate> &candidates)
{
    QList<QString> keys;
    keys.reserve(candidates.size());
    for (const FirmwareCandidate &candidate : candidates)
        keys << composed(candidate.released);
    stableOrderByKeys(candidates, keys, scalarsPrecede);
}

void orderByLinkPreference(QList<AppleDBLink> &links)
{
    std::stable_partition(links.begin(), links.end(),
                          [](const AppleDBLink &link) { return link.preferred.value_or(false); });
}

void orderByModel(QList<WatchFirmware> &firmware)
{
    QList<QList<qint64>> keys;
    keys.reserve(firmware.size());
    for (const WatchFirmware &entry : firmware)
        keys << productSortKey(entry.productType);
    stableOrderByKeys(firmware, keys, sortKeyPrecedes);
}

} // namespace CatalogOrdering
