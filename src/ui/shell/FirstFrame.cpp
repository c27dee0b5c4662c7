#include "ui/shell/FirstFrame.h"

#include <QEvent>
#include <QLoggingCategory>
#include <QTimer>
#include <QWidget>

namespace {

Q_LOGGING_CATEGORY(firstFrameLog, "corvalin.startup", QtWarningMsg)

class FirstPaintWatcher final : public QObject {
public:
    FirstPaintWatcher(QWidget *widget, bool logs, std::function<void()> then)
        : QObject(widget), m_then(std::move(then)), m_logs(logs)
    {}

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint) {
            watched->removeEventFilter(this);
            // After this paint, and the flush that follows it, have finished. Work that only waits
            // for the frame takes one more turn, so the frame is reported before it starts.
            QTimer::singleShot(0, this, [this] {
                if (m_logs)
                    qCInfo(firstFrameLog) << "First frame";
                if (m_logs)
                    finish();
                else
                    QTimer::singleShot(0, this, [this] { finish(); });
            });
        }
        return false;
    }

private:
    void finish()
    {
        if (m_then)
            m_then();
        deleteLater();
    }

    std::function<void()> m_then;
    bool m_logs;
};

} // namespace

namespace FirstFrame {

void whenPainted(QWidget *window, std::function<void()> then)
{
    window->installEventFilter(new FirstPaintWatcher(window, true, std::move(then)));
}

void afterFirstPaint(QWidget *widget, std::function<void()> then)
{
    widget->installEventFilter(new FirstPaintWatcher(widget, false, std::move(then)));
}

} // namespace FirstFrame
