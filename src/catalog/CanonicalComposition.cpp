#include "catalog/CanonicalComposition.h"

#include <QHash>
#include <QList>

#include <algorithm>

namespace {

constexpr char32_t hangulFirst = 0xAC00;
constexpr char32_t hangulLast = 0xD7A3;
constexpr char32_t leadingBase = 0x1100;
constexpr char32_t vowelBase = 0x1161;
constexpr char32_t trailingBase = 0x11A7;
constexpr char32_t vowelCount = 21;
constexpr char32_t trailingCount = 28;

void decomposeInto(char32_t scalar, QList<char32_t> &out)
{
    if (scalar >= hangulFirst && scalar <= hangulLast) {
        const char32_t index = scalar - hangulFirst;
        out.append(leadingBase + index / (vowelCount * trailingCount));
        out.append(vowelBase + index % (vowelCount * trailingCount) / trailingCount);
        if (index % trailingCount != 0)
            out.append(trailingBase + index % trailingCount);
        return;
    }
    if (QChar::decompositionTag(scalar) != QChar::Canonical) {
        out.append(scalar);
        return;
    }
    const QString parts = QChar::decomposition(scalar);
    for (const char32_t part : parts.toUcs4())
        decomposeInto(part, out);
}

// Sorts each run of combining marks by combining class, keeping the order of equal classes.
void orderCanonically(QList<char32_t> &scalars)
{
    qsizetype i = 0;
    while (i < scalars.size()) {
        if (QChar::combiningClass(scalars[i]) == 0) {
            ++i;
            continue;
        }
        qsizetype end = i;
        while (end < scalars.size() && QChar::combiningClass(scalars[end]) != 0)
            ++end;
        std::stable_sort(scalars.begin() + i, scalars.begin() + end, [](char32_t a, char32_t b) {
            return QChar::combiningClass(a) < QChar::combiningClass(b);
        });
        i = end;
    }
}

// The primary composite of two scalars, asked of Qt for just the pair (so composition
// exclusions are Qt's) and remembered, since a text repeats its pairs.
class PairComposer {
public:
    char32_t compose(char32_t first, char32_t second)
    {
        const quint64 key = (quint64(first) << 32) | second;
        if (const auto it = m_known.constFind(key); it != m_known.cend())
            return *it;
        const char32_t pair[] = {first, second};
        const QString result = QString::fromUcs4(pair, 2).normalized(QString::NormalizationForm_C);
        const QList<uint> scalars = result.toUcs4();
        const char32_t composite = scalars.size() == 1 ? char32_t(scalars.first()) : 0;
        m_known.insert(key, composite);
        return composite;
    }

private:
    QHash<quint64, char32_t> m_known;
};

} // namespace

namespace CanonicalComposition {

QString composed(const QString &text)
{
    // Unpaired surrogates pass through as they are, as they do through Qt's normalisation.
    QList<char32_t> scalars;
    scalars.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar unit = text.at(i);
        if (unit.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            decomposeInto(QChar::surrogateToUcs4(unit, text.at(i + 1)), scalars);
            ++i;
        } else {
            decomposeInto(unit.unicode(), scalars);
        }
    }
    orderCanonically(scalars);

    // A mark joins the last starter unless something between them blocks it: a starter, or a
    // mark of the same or a higher class.
    PairComposer composer;
    QList<char32_t> out;
    out.reserve(scalars.size());
    qsizetype starter = -1;
    int lastClass = 0;
    for (const char32_t scalar : std::as_const(scalars)) {
        const int combiningClass = QChar::combiningClass(scalar);
        if (starter >= 0) {
            const bool adjacent = out.size() - 1 == starter;
            const bool blocked = !adjacent && (lastClass == 0 || lastClass >= combiningClass);
            if (!blocked) {
                if (const char32_t composite = composer.compose(out[starter], scalar)) {
                    out[starter] = composite;
                    continue;
                }
            }
        }
        if (combiningClass == 0)
            starter = out.size();
        lastClass = combiningClass;
        out.append(scalar);
    }
    QString result;
    result.reserve(out.size());
    for (const char32_t scalar : std::as_const(out)) {
        if (QChar::requiresSurrogates(scalar)) {
            result.append(QChar(QChar::highSurrogate(scalar)));
            result.append(QChar(QChar::lowSurrogate(scalar)));
        } else {
            result.append(QChar(char16_t(scalar)));
        }
    }
    return result;
}

} // namespace CanonicalComposition
