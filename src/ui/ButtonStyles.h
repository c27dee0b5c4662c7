#pragma once

#include <QColor>
#include <QFont>

#include <variant>

class QPainter;
class QRectF;

// What a button style draws for one pressed state.
struct ButtonLook {
    QColor fill;   // the flat fill, or the gradient's leading colour
    qreal opacity; // opacity the background is drawn at
    qreal scale;   // scale of the whole button about its centre
};

struct ButtonMetrics {
    int height;
    int padding; // on each side of the label
    qreal radius;
    QFont font;
    QColor label;
};

// The three button styles of the kit. Each reads only the pressed state; none knows whether
// its button is enabled (the painted button dims a disabled one as a whole, as native controls
// are dimmed, without touching the style's colours).
struct PrimaryButtonStyle {
    ButtonMetrics metrics() const;
    ButtonLook look(bool pressed) const;
    void drawBackground(QPainter &painter, const QRectF &shape, bool pressed) const;
};

struct SecondaryButtonStyle {
    ButtonMetrics metrics() const;
    ButtonLook look(bool pressed) const;
    void drawBackground(QPainter &painter, const QRectF &shape, bool pressed) const;
};

struct DangerButtonStyle {
    ButtonMetrics metrics() const;
    ButtonLook look(bool pressed) const;
    void drawBackground(QPainter &painter, const QRectF &shape, bool pressed) const;
};

using ButtonStyle = std::variant<PrimaryButtonStyle, SecondaryButtonStyle, DangerButtonStyle>;

ButtonMetrics metricsOf(const ButtonStyle &style);
ButtonLook lookOf(const ButtonStyle &style, bool pressed);
void drawBackgroundOf(const ButtonStyle &style, QPainter &painter, const QRectF &shape, bool pressed);
