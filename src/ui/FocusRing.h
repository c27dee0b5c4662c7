#pragma once

class QWidget;

// Painted controls show a focus ring when the focus came from the keyboard, as native controls
// do: Tab, a shortcut, or the program moving the focus in answer to a key (a section switched
// from the keyboard hands the focus to the new screen with its ring). A click, or the window
// handing focus to its first control on activation, shows none; a window that is activated
// again keeps whatever its focus showed before.
namespace FocusRing {

bool isVisible(const QWidget *widget);

// Gives widget the focus with its ring showing, whatever the last input was: for the answer
// Return gives in a dialog, which must be visible before anything is pressed.
void focusWithRing(QWidget *widget);

} // namespace FocusRing
