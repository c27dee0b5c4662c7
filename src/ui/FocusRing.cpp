#include "ui/FocusRing.h"

#include <QApplication>
#include <QFocusEvent>
#include <QWidget>

namespace {

const char *const keyboardFocusProperty = "corvalinKeyboardFocus";

// Remembers, on every widget that gains focus, whether the keyboard moved it there.
class FocusReasonTracker final : public QObject {
public:
    using QObject::QObject;

    void requestRing(QWidget *widget) { m_ringRequested = widget; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        switch (event->type()) {
        case QEvent::KeyPress: m_lastInputWasKeyboard = true; break;
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
        case QEvent::TouchBegin: m_lastInputWasKeyboard = false; break;
        case QEvent::FocusIn:
            if (watched->isWidgetType())
                remember(watched, static_cast<QFocusEvent *>(event)->reason());
            break;
        default: break;
        }
        return false;
    }

private:
    void remember(QObject *widget, Qt::FocusReason reason)
    {
        bool keyboard = false;
        switch (reason) {
        case Qt::TabFocusReason:
        case Qt::BacktabFocusReason:
        case Qt::ShortcutFocusReason: keyboard = true; break;
        // The window comes back with the focus it had, ring or not; a control that was given
        // the focus while a dialog was up shows what the last input was.
        case Qt::ActiveWindowFocusReason:
        case Qt::PopupFocusReason:
            if (widget->property(keyboardFocusProperty).isValid())
                return;
            keyboard = m_lastInputWasKeyboard;
            break;
        case Qt::MouseFocusReason: keyboard = false; break;
        default: keyboard = m_lastInputWasKeyboard; break;
        }
        if (widget == m_ringRequested) {
            keyboard = true;
            m_ringRequested = nullptr;
        }
        widget->setProperty(keyboardFocusProperty, keyboard);
    }

    bool m_lastInputWasKeyboard = false;
    QObject *m_ringRequested = nullptr;
};

FocusReasonTracker *tracker()
{
    static FocusReasonTracker *installed = nullptr;
    if (!installed && qApp) {
        installed = new FocusReasonTracker(qApp);
        qApp->installEventFilter(installed);
    }
    return installed;
}

} // namespace

namespace FocusRing {

bool isVisible(const QWidget *widget)
{
    tracker();
    return widget->hasFocus() && widget->property(keyboardFocusProperty).toBool();
}

void focusWithRing(QWidget *widget)
{
    if (FocusReasonTracker *installed = tracker())
        installed->requestRing(widget);
    widget->setProperty(keyboardFocusProperty, true);
    widget->setFocus(Qt::OtherFocusReason);
    widget->update();
}

} // namespace FocusRing
