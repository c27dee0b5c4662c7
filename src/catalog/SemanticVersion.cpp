#include "catalog/SemanticVersion.h"

#include <QList>

#include <limits>

std::optional<qint64> parseIntegerPiece(QStringView text)
{
    bool negative = false;
    if (!text.isEmpty() && (text.front() == u'+' || text.front() == u'-')) {
        negative = text.front() == u'-';
        text = text.sliced(1);
    }
    if (text.isEmpty())
        return std::nullopt;

    // Accumulate the magnitude, which may reach 2^63 for the most negative value.
    constexpr quint64 maxMagnitude = quint64(std::numeric_limits<qint64>::max()) + 1;
    const quint64 limit = negative ? maxMagnitude : maxMagnitude - 1;
    quint64 magnitude = 0;
    for (const QChar c : text) {
        const char16_t unit = c.unicode();
        if (unit < u'0' || unit > u'9')
            return std::nullopt;
        const quint64 digit = unit - u'0';
        if (magnitude > (limit - digit) / 10)
            return std::nullopt;
        magnitude = magnitude * 10 + digit;
    }
    if (!negative)
        return qint64(magnitude);
    return magnitude == maxMagnitude ? std::numeric_limits<qint64>::min() : -qint64(magnitude);
}

std::optional<SemanticVersion> SemanticVersion::parse(QStringView text)
{
    const QList<QStringView> pieces = text.split(u'.', Qt::SkipEmptyParts);
    if (pieces.isEmpty() || pieces.size() > 3)
        return std::nullopt;
    qint64 values[3] = {0, 0, 0};
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        const std::optional<qint64> value = parseIntegerPiece(pieces.at(i));
        if (!value)
            return std::nullopt;
        values[i] = *value;
    }
    return SemanticVersion{values[0], values[1], values[2]};
}
