#include "ui/screens/LogBox.h"

#include "ui/Theme.h"

#include <QPainter>
#include <QPainterPath>
#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace {

constexpr int padding = 18;
constexpr qreal radius = 16;
constexpr qreal fillOpacity = 0.55;
constexpr qreal outlineOpacity = 0.15;
constexpr int textSize = 11;

} // namespace

LogBox::LogBox(QWidget *parent) : QWidget(parent), m_text(new QPlainTextEdit)
{
    m_text->setObjectName(QStringLiteral("logText"));
    m_text->setReadOnly(true);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_text->setUndoRedoEnabled(false);
    m_text->setFrameShape(QFrame::NoFrame);
    m_text->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    m_text->setFont(Theme::font(textSize, QFont::Normal, Theme::FontDesign::monospaced));
    QPalette palette = m_text->palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    palette.setColor(QPalette::Text, Theme::logText());
    m_text->setPalette(palette);
    m_text->viewport()->setAutoFillBackground(false);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(padding, padding, padding, padding);
    layout->addWidget(m_text);
}

LogBox::~LogBox() = default;

void LogBox::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath shape;
    shape.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.fillPath(shape, Theme::withOpacity(QColor(Qt::black), fillOpacity));
    painter.setPen(QPen(Theme::withOpacity(Theme::green(), outlineOpacity), Theme::Metrics::outlineWidth));
    painter.drawPath(shape);
}
