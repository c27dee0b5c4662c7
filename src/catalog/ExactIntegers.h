#pragma once

#include <QByteArray>

// Qt's JSON parser reads every number whose nearest double is integral and fits 64 bits as an
// integer, so a literal that only rounds to one passes for it: 1.0000000000000000001 becomes 1,
// and -9223372036854775809, below the signed 64-bit range, becomes -2^63. The catalogue's
// integers must be exact, so before parsing every number literal that is not exactly an integer
// of the signed 64-bit range is replaced by a fraction of the same length. Such a number then
// fails wherever an integer is required, and nothing else in the document moves or changes.
namespace ExactIntegers {

QByteArray markInexactNumbers(const QByteArray &json);

} // namespace ExactIntegers
