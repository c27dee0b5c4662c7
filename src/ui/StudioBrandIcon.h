#pragma once

#include <QFuture>
#include <QImage>
#include <QWidget>

// The square brand mark: the bundled owl picture when the resource folder has it, otherwise
// the accent gradient with the watch glyph. Always clipped to radius 13.
class StudioBrandIcon final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StudioBrandIcon)

public:
    explicit StudioBrandIcon(int size, QWidget *parent = nullptr);
    ~StudioBrandIcon() override;

    int side() const { return m_side; }
    // True when the bundled picture was found and loaded, false when the fallback is drawn.
    bool showsBundleImage() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    // Decodes the picture on a worker for screens of ratio `dpr`.
    void startLoading(qreal dpr) const;
    // The same, once the frame being painted is on screen; the icon repaints when it is done.
    void loadAfterThisFrame(qreal dpr);
    // The decoded picture, waiting for the decoding if it has not finished yet.
    const QImage &image() const;

    int m_side;
    QString m_picture;
    mutable qreal m_requestedRatio = 0; // 0 until the picture is first asked for
    mutable bool m_loadScheduled = false;
    mutable QFuture<QImage> m_loading;
    mutable QImage m_image;
};
