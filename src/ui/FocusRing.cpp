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

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::FocusIn && watched->isWidgetType()) {
            const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
            watched->setProperty(keyboardFocusProperty, reason == Qt::TabFocusReason ||
                                                            reason == Qt::BacktabFocusReason ||
                                                            reason == Qt::ShortcutFocusReason);
        }
        return false;
    }
};

void ensureTracking()
{
    static bool installed = false;
    if (installed || !qApp)
        return;
    installed = true;
    qApp->installEventFilter(new FocusReasonTracker(qApp));
}

} // namespace

namespace FocusRing {

bool isVisible(const QWidget *widget)
{
    ensureTracking();
    return widget->hasFocus() && widget->property(keyboardFocusProperty).toBool();
}

} // namespace FocusRing
