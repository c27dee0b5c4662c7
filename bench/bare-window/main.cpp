// The reference for start-up figures: a bare Qt window of the application's size that says when
// its first frame is painted, in the same words as the application's start-up log. With
// --turning it also repaints a 24-pixel square four times a second, the least a turning spinner
// can cost through the toolkit's repaint path.
#include <QApplication>
#include <QEvent>
#include <QPainter>
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

class TurningSquare final : public QWidget {
public:
    explicit TurningSquare(QWidget *parent) : QWidget(parent)
    {
        setGeometry(40, 40, 24, 24);
        auto *timer = new QTimer(this);
        connect(timer, &QTimer::timeout, this, [this] {
            m_step = (m_step + 1) % 8;
            update();
        });
        timer->start(1000 / 4);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.fillRect(0, 0, 3 * m_step, 24, Qt::gray);
    }

private:
    int m_step = 0;
};

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    BareWindow window;
    window.resize(1280, 820);
    if (QApplication::arguments().contains(QStringLiteral("--turning")))
        new TurningSquare(&window);
    window.show();
    return QApplication::exec();
}
