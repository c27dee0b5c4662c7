#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

// The fuzzer's bytes as the parsers receive them: raw, or decoded as the process runner does.
inline QByteArray bytesOf(const uint8_t *data, size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), qsizetype(size));
}

inline QString textOf(const uint8_t *data, size_t size)
{
    return QString::fromUtf8(bytesOf(data, size));
}
