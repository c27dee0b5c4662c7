#include "ui/PlainButton.h"

#include "ui/EnabledState.h"
#include "ui/FocusRing.h"
#include "ui/Theme.h"

#include <QEvent>
#include <QPainter>
#include <QVBoxLayout>

PlainButton::PlainButton(QWidget *content, const QString &accessibleName, QWidget *parent)
    : PaintedButton(parent), m_content(content), m_layout(new QVBoxLayout(this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->addWidget(content);
    // Clicks on the content belong to the button.
    content->setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::StrongFocus);
    EnabledState::follow(this);
    setAccessibleName(accessibleName);
    setSizePolicy(content->sizePolicy());
}

PlainButton::~PlainButton() = default;

QSize PlainButton::sizeHint() const
{
    return m_layout->sizeHint();
}

QSize PlainButton::minimumSizeHint() const
{
    return m_layout->minimumSize();
}

void PlainButton::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::EnabledChange)
        EnabledState::follow(this);
    PaintedButton::changeEvent(event);
}

void PlainButton::paintEvent(QPaintEvent *)
{
    if (!FocusRing::isVisible(this))
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::focusRing(), Theme::Metrics::focusRingWidth));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 13, 13);
}
