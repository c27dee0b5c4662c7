#pragma once

class QWidget;

// Painted controls show a focus ring only when the focus came from the keyboard, as native
// controls do: a click, or the window handing focus to its first control on activation,
// shows none.
namespace FocusRing {

bool isVisible(const QWidget *widget);

} // namespace FocusRing
