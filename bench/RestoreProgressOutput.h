#pragma once

#include <QByteArray>

namespace Bench {

// How many lines a long restore prints while it sends the image.
constexpr int progressLines = 200000;

// progressLines progress lines of 60 bytes each, as a restore tool prints them.
QByteArray restoreProgressOutput();

} // namespace Bench
