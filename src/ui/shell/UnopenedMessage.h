#pragma once

#include <QString>

class QWidget;

// Tells the user that the desktop could not open something (no file manager or browser is set
// up) and shows where it is, selectable so that it can be copied.
namespace UnopenedMessage {

void show(QWidget *parent, const QString &title, const QString &whereItIs);

} // namespace UnopenedMessage
