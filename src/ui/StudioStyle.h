#pragma once

#include <QProxyStyle>

// The platform style (Fusion) with the studio's own scroll bars: a slim translucent handle in a
// clear track, without arrow buttons, brighter while hovered or dragged, as overlay scroll bars
// look on the dark appearance. Its standard icons are read only when first drawn.
class StudioStyle final : public QProxyStyle {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StudioStyle)

public:
    // Takes ownership of base.
    explicit StudioStyle(QStyle *base);
    ~StudioStyle() override;

    int pixelMetric(PixelMetric metric, const QStyleOption *option = nullptr,
                    const QWidget *widget = nullptr) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex *option, SubControl subControl,
                         const QWidget *widget = nullptr) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex *option, QPainter *painter,
                            const QWidget *widget = nullptr) const override;
    QIcon standardIcon(StandardPixmap standardIcon, const QStyleOption *option = nullptr,
                       const QWidget *widget = nullptr) const override;
};
