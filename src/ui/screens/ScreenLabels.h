#pragma once

#include <QColor>
#include <QFont>
#include <QString>

class DeviceMonitor;
class QLabel;
class QScrollArea;
class QWidget;

// Small builders the screens share, so each screen reads as a list of its parts.
namespace ScreenLabels {

QLabel *label(const QString &text, const QFont &font, const QColor &color, QWidget *parent = nullptr);
// The same, for a text that wraps its words onto as many lines as it needs.
QLabel *wrappingLabel(const QString &text, const QFont &font, const QColor &color, QWidget *parent = nullptr);
void setColor(QLabel *label, const QColor &color);
// A card heading: symbol and text at 15 semibold.
QWidget *cardHeading(const QString &symbol, const QString &text, QWidget *parent = nullptr);
// A full-width secondary button that runs one check of the bus when pressed; repeated presses
// start repeated checks, each running on to its end.
QWidget *checkNowButton(DeviceMonitor *monitor, const QString &text, const QString &objectName,
                        QWidget *parent = nullptr);
// A scrolling page over the window backdrop; page goes inside it.
QScrollArea *scrollingPage(QWidget *page, QWidget *parent = nullptr);

} // namespace ScreenLabels
