#pragma once

#include <QPixmap>
#include <QWidget>

#include <array>

class QTimer;

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

private:
    Size m_size;
    QTimer *m_timer;
    int m_step = 0;
    // One picture per step, drawn when first shown at this size and pixel ratio.
    std::array<QPixmap, spokes> m_frames;
    int m_framesSide = 0;
    qreal m_framesRatio = 0;
};
