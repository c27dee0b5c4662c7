// The reference for start-up figures: a bare Qt window of the application's size that says when
// its first frame is painted, in the same words as the application's start-up log.
#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <QWidget>

#include <cstdio>

namespace {

class BareWindow final : public QWidget {
public:
    bool event(QEvent *event) override
    {
        if (event->type() == QEvent::Paint && !m_painted) {
            m_painted = true;
            // After this paint and its flush have finished.
            QTimer::singleShot(0, this, [] {
                std::fputs("corvalin.startup: First frame\n", stderr);
                std::fflush(stderr);
            });
        }
        return QWidget::event(event);
    }

private:
    bool m_painted = false;
};

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    BareWindow window;
    window.resize(1280, 820);
    window.show();
    return QApplication::exec();
}
