#pragma once

#include <QBasicTimer>
#include <QPixmap>
#include <QPoint>
#include <QSize>
#include <QWidget>

#include <array>

class QPainter;

// An indeterminate progress indicator: a ring of fading spokes that turns while shown.
class BusySpinner final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BusySpinner)

public:
    enum class Size { small, regular };
    // The ring's spokes; it turns a spoke at a time.
    static constexpr int spokes = 8;

    explicit BusySpinner(Size size, QWidget *parent = nullptr);
    ~BusySpinner() override;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void timerEvent(QTimerEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    // Where the spinner sits decides what lies behind it: the window's backdrop is a gradient
    // over the whole window.
    struct Placement {
        QPoint inWindow;
        QSize window;
        QSize own;
        qreal ratio = 0;
        bool operator==(const Placement &) const = default;
    };
    Placement currentPlacement() const;
    QPixmap backdrop() const;
    // Takes what lies behind at the current placement and whether the spinner paints it itself.
    void takeBackdrop();
    void paintSpokes(QPainter *painter, int step) const;
    QPixmap composedFrame(int step) const;

    Size m_size;
    QBasicTimer m_timer;
    int m_step = 0;
    // One picture per step, the spokes over what lies behind them, drawn when first needed at
    // this placement: a step is then one copy, with nothing behind it painted again.
    std::array<QPixmap, spokes> m_frames;
    QPixmap m_backdrop;
    Placement m_placement;
};
