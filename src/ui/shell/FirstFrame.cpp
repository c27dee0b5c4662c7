#include "ui/shell/FirstFrame.h"

#include <QEvent>
#include <QLoggingCategory>
#include <QTimer>
#include <QWidget>

namespace {

Q_LOGGING_CATEGORY(firstFrameLog, "corvalin.startup", QtWarningMsg)

class FirstPaintWatcher final : public QObject {
public:
    FirstPaintWatcher(QWidget *window, std::function<void()> then) : QObject(window), m_then(std::move(then))
    {}

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint) {
            watched->removeEventFilter(this);
            // After this paint, and the flush that follows it, have finished.
            QTimer::singleShot(0, this, [this] {
                qCInfo(firstFrameLog) << "First frame";
                if (m_then)
                    m_then();
                deleteLater();
            });
        }
        return false;
    }

private:
    std::function<void()> m_then;
};

} // namespace

namespace FirstFrame {

void whenPainted(QWidget *window, std::function<void()> then)
{
    window->installEventFilter(new FirstPaintWatcher(window, std::move(then)));
}

} // namespace FirstFrame
