#include "ui/screens/ScreenLabels.h"

#include "device/DeviceMonitor.h"
#include "ui/StudioButton.h"
#include "ui/SymbolLabel.h"
#include "ui/Theme.h"
#include "ui/WrappingLabel.h"

#include <QLabel>
#include <QScrollArea>

namespace {

constexpr int cardHeadingSize = 15;

QLabel *styled(QLabel *label, const QFont &font, const QColor &color)
{
    label->setFont(font);
    // Inside a button a label would otherwise inherit the button's roles and draw in ButtonText.
    label->setForegroundRole(QPalette::WindowText);
    ScreenLabels::setColor(label, color);
    return label;
}

} // namespace

QLabel *ScreenLabels::label(const QString &text, const QFont &font, const QColor &color, QWidget *parent)
{
    return styled(new QLabel(text, parent), font, color);
}

QLabel *ScreenLabels::wrappingLabel(const QString &text, const QFont &font, const QColor &color,
                                    QWidget *parent)
{
    return styled(new WrappingLabel(text, parent), font, color);
}

void ScreenLabels::setColor(QLabel *label, const QColor &color)
{
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    palette.setColor(QPalette::Text, color);
    label->setPalette(palette);
}

QWidget *ScreenLabels::cardHeading(const QString &symbol, const QString &text, QWidget *parent)
{
    return new SymbolLabel(symbol, text, Theme::font(cardHeadingSize, QFont::DemiBold), Theme::textPrimary(),
                           parent);
}

QScrollArea *ScreenLabels::scrollingPage(QWidget *page, QWidget *parent)
{
    auto *scroll = new QScrollArea(parent);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    // Narrower than its content (a small or strongly scaled screen), the page scrolls sideways
    // too rather than being cut off.
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    // The scroll area itself is no Tab stop: it would take focus without showing it. The page's
    // controls are, and the area scrolls each of them into view as it gains focus.
    scroll->setFocusPolicy(Qt::NoFocus);
    // The backdrop belongs to the window; the page is see-through. setWidget turns the page's own
    // fill on, so it is turned off only afterwards.
    scroll->setAutoFillBackground(false);
    scroll->viewport()->setAutoFillBackground(false);
    scroll->setWidget(page);
    page->setAutoFillBackground(false);
    return scroll;
}

QWidget *ScreenLabels::checkNowButton(DeviceMonitor *monitor, const QString &text, const QString &objectName,
                                      QWidget *parent)
{
    auto *button = new StudioButton(SecondaryButtonStyle{}, text, QStringLiteral("arrow.clockwise"), parent);
    button->setObjectName(objectName);
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    QObject::connect(button, &StudioButton::clicked, monitor, [monitor] { monitor->poll(); });
    return button;
}
