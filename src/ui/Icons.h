#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QSize>
#include <QString>
#include <QStringList>

class QPainter;
class QRectF;

// SF Symbols names resolved to glyphs of the embedded SVG icon set, tinted at draw time.
// Unknown names draw nothing and give a null pixmap.
namespace Icons {

bool has(const QString &sfName);

QIcon icon(const QString &sfName, const QColor &tint);
// A pixmap of the logical size rendered at the device pixel ratio, so it stays crisp.
QPixmap pixmap(const QString &sfName, const QColor &tint, QSize logical, qreal dpr);
// Draws the glyph fitted into rect (kept square, centred) on any painter.
void paint(QPainter *painter, const QRectF &rect, const QString &sfName, const QColor &tint);

} // namespace Icons
