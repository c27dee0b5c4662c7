#pragma once

#include <QIcon>

#include <functional>

// An icon built the first time it is drawn or measured, not when a widget takes it: the style's
// standard icons are read from image files through the image plugins, which widgets that may
// never show them (a menu bar's overflow button) would otherwise load while the window is built.
namespace DeferredIcon {

QIcon make(std::function<QIcon()> build);

} // namespace DeferredIcon
