#include "catalog/CatalogOrdering.h"

#include "catalog/CanonicalComposition.h"
#include "catalog/SemanticVersion.h"

#include <QHash>

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

// A text ready for comparison: canonically composed, and marked when it holds UTF-16 units
// whose order differs from their scalars' order. The catalogue's dates are plain ASCII and take
// the fast path, the library's own code unit comparison.
struct ComparableText {
    QString text;
    bool hasSurrogateOrder = false;

    explicit ComparableText(const QString &original)
        : text(isAscii(original) ? original : CanonicalComposition::composed(original)),
          hasSurrogateOrder(
              std::any_of(text.begin(), text.end(), [](QChar c) { return c.unicode() >= 0xD800; }))
    {}
};

bool scalarsPrecede(const ComparableText &a, const ComparableText &b)
{
    if (!a.hasSurrogateOrder || !b.hasSurrogateOrder)
        return a.text < b.text; // a differing unit below U+D800 orders the same either way
    const auto [left, right] = std::mismatch(a.text.begin(), a.text.end(), b.text.begin(), b.text.end());
    if (right == b.text.end())
        return false;
    if (left == a.text.end())
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

QList<qsizetype> dateRanks(const QList<QString> &dates)
{
    // Each distinct text is prepared once and the distinct texts are sorted once.
    QHash<QString, qsizetype> distinctIndex;
    QList<ComparableText> distinct;
    QList<qsizetype> indexOfDate;
    indexOfDate.reserve(dates.size());
    for (const QString &date : dates) {
        auto it = distinctIndex.constFind(date);
        if (it == distinctIndex.cend()) {
            it = distinctIndex.insert(date, distinct.size());
            distinct.append(ComparableText(date));
        }
        indexOfDate.append(*it);
    }

    QList<qsizetype> order(distinct.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(),
              [&](qsizetype a, qsizetype b) { return scalarsPrecede(distinct.at(a), distinct.at(b)); });
    QList<qsizetype> rankOfDistinct(distinct.size());
    qsizetype rank = 0;
    for (qsizetype i = 0; i < order.size(); ++i) {
        if (i > 0 && scalarsPrecede(distinct.at(order.at(i - 1)), distinct.at(order.at(i))))
            ++rank;
        rankOfDistinct[order.at(i)] = rank;
    }

    QList<qsizetype> ranks;
    ranks.reserve(dates.size());
    for (const qsizetype index : std::as_const(indexOfDate))
        ranks.append(rankOfDistinct.at(index));
    return ranks;
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
