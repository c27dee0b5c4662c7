#include "ui/screens/ClampedLabel.h"

#include <QPainter>
#include <QTextLayout>

ClampedLabel::ClampedLabel(int maximumLines, const QFont &font, const QColor &color, QWidget *parent)
    : QWidget(parent), m_maximumLines(maximumLines), m_color(color)
{
    setFont(font);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
}

ClampedLabel::~ClampedLabel() = default;

void ClampedLabel::setText(const QString &text)
{
    m_text = text;
    setAccessibleName(text);
    updateGeometry();
    update();
}

QStringList ClampedLabel::visibleLines() const
{
    return linesFor(width());
}

QStringList ClampedLabel::linesFor(int width) const
{
    QStringList lines;
    if (m_text.isEmpty() || width <= 0)
        return lines;
    QTextLayout layout(m_text, font());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    while (true) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        if (lines.size() + 1 == m_maximumLines) {
            // The last allowed line takes the rest of the text, elided to fit.
            lines << fontMetrics().elidedText(m_text.mid(line.textStart()), Qt::ElideRight, width);
            break;
        }
        lines << m_text.mid(line.textStart(), line.textLength());
    }
    layout.endLayout();
    return lines;
}

int ClampedLabel::heightForWidth(int width) const
{
    const int lines = std::max<int>(1, int(linesFor(width).size()));
    return lines * fontMetrics().lineSpacing();
}

QSize ClampedLabel::sizeHint() const
{
    return {fontMetrics().horizontalAdvance(m_text), heightForWidth(std::max(width(), 1))};
}

QSize ClampedLabel::minimumSizeHint() const
{
    return {0, fontMetrics().lineSpacing()};
}

void ClampedLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(m_color);
    int top = 0;
    for (const QString &line : visibleLines()) {
        painter.drawText(QRect(0, top, width(), fontMetrics().lineSpacing()),
                         Qt::AlignLeft | Qt::AlignVCenter, line.trimmed());
        top += fontMetrics().lineSpacing();
    }
}
