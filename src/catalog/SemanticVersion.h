#pragma once

#include <QStringView>
#include <QtGlobal>

#include <compare>
#include <optional>

// A signed 64-bit integer written as an optional single "+" or "-" and one or more ASCII
// digits, nothing else; leading zeros are fine. Empty text, a lone sign and overflow are not.
std::optional<qint64> parseIntegerPiece(QStringView text);

// A release's marketing version as up to three dot-separated integers (10.4.1, 11.0, 10).
// Texts such as "10.0b1" or "8.0 RC" are not versions.
struct SemanticVersion {
    qint64 major = 0;
    qint64 minor = 0;
    qint64 patch = 0;

    // Empty pieces between dots are dropped, so ".5" is 5.0.0 and "1..2" is 1.2.0.
    static std::optional<SemanticVersion> parse(QStringView text);

    // Major, then minor, then patch, as signed integers.
    friend auto operator<=>(const SemanticVersion &, const SemanticVersion &) = default;
};
