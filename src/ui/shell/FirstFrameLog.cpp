#include "ui/shell/FirstFrameLog.h"

#include <QEvent>
#include <QLoggingCategory>
#include <QTimer>
#include <QWidget>

namespace {

Q_LOGGING_CATEGORY(firstFrameLog, "corvalin.startup", QtWarningMsg)

class FirstPaintWatcher final : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint) {
            watched->removeEventFilter(this);
            // Logged after this paint, and the flush that follows it, have finished.
            QTimer::singleShot(0, this, [this] {
                qCInfo(firstFrameLog) << "First frame";
                deleteLater();
            });
        }
        return false;
    }
};

} // namespace

namespace FirstFrameLog {

void watch(QWidget *window)
{
    if (firstFrameLog().isInfoEnabled())
        window->installEventFilter(new FirstPaintWatcher(window));
}

} // namespace FirstFrameLog
