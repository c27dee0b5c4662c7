#include "catalog/ExactIntegers.h"

#include <algorithm>
#include <optional>

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// The pieces of one number literal as JSON writes it: -I.FeE.
struct NumberLiteral {
    qsizetype end = 0; // one past the literal
    bool negative = false;
    QByteArrayView integerDigits;
    QByteArrayView fractionDigits;
    qint64 exponent = 0; // saturated far beyond any meaningful value
};

// Reads the literal starting at `begin`, or nothing when what starts there is not one (the JSON
// parser reports that).
std::optional<NumberLiteral> readNumber(QByteArrayView json, qsizetype begin)
{
    NumberLiteral number;
    qsizetype i = begin;
    if (i < json.size() && json[i] == '-') {
        number.negative = true;
        ++i;
    }
    const qsizetype integerStart = i;
    while (i < json.size() && isDigit(json[i]))
        ++i;
    if (i == integerStart)
        return std::nullopt;
    number.integerDigits = json.sliced(integerStart, i - integerStart);
    if (i < json.size() && json[i] == '.') {
        const qsizetype fractionStart = ++i;
        while (i < json.size() && isDigit(json[i]))
            ++i;
        if (i == fractionStart)
            return std::nullopt;
        number.fractionDigits = json.sliced(fractionStart, i - fractionStart);
    }
    if (i < json.size() && (json[i] == 'e' || json[i] == 'E')) {
        ++i;
        bool negativeExponent = false;
        if (i < json.size() && (json[i] == '+' || json[i] == '-'))
            negativeExponent = json[i++] == '-';
        const qsizetype exponentStart = i;
        constexpr qint64 saturation = qint64(1) << 40;
        while (i < json.size() && isDigit(json[i])) {
            number.exponent = std::min(saturation, number.exponent * 10 + (json[i] - '0'));
            ++i;
        }
        if (i == exponentStart)
            return std::nullopt;
        if (negativeExponent)
            number.exponent = -number.exponent;
    }
    number.end = i;
    return number;
}

bool isExactInt64(const NumberLiteral &number)
{
    // value = digits × 10^scale, with the digits' leading and trailing zeros taken off.
    QByteArray digits = number.integerDigits.toByteArray() + number.fractionDigits.toByteArray();
    qint64 scale = number.exponent - number.fractionDigits.size();
    qsizetype leading = 0;
    while (leading < digits.size() && digits[leading] == '0')
        ++leading;
    digits = digits.sliced(leading);
    if (digits.isEmpty())
        return true; // zero, however it is written
    while (digits.endsWith('0')) {
        digits.chop(1);
        ++scale;
    }
    if (scale < 0)
        return false; // a fraction
    const qint64 length = digits.size() + scale;
    const QByteArray limit = number.negative ? "9223372036854775808" : "9223372036854775807";
    if (length != limit.size())
        return length < limit.size();
    return digits + QByteArray(qsizetype(scale), '0') <= limit;
}

} // namespace

namespace ExactIntegers {

QByteArray markInexactNumbers(const QByteArray &json)
{
    QByteArray result;
    bool inString = false;
    for (qsizetype i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
            continue;
        }
        if (c == '"') {
            inString = true;
            continue;
        }
        if (c != '-' && !isDigit(c))
            continue;
        const std::optional<NumberLiteral> number = readNumber(json, i);
        if (!number)
            continue;
        if (!isExactInt64(*number)) {
            if (result.isEmpty())
                result = json;
            // Every literal that is not an exact integer is at least three characters long.
            result.replace(i, number->end - i,
                           "0.5" + QByteArray(std::max<qsizetype>(0, number->end - i - 3), ' '));
        }
        i = number->end - 1;
    }
    return result.isEmpty() ? json : result;
}

} // namespace ExactIntegers
