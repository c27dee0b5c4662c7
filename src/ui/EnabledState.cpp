#include "ui/EnabledState.h"

#include "ui/Theme.h"

#include <QGraphicsOpacityEffect>
#include <QWidget>

namespace EnabledState {

void follow(QWidget *control)
{
    if (control->isEnabled()) {
        control->setCursor(Qt::PointingHandCursor);
        control->setGraphicsEffect(nullptr);
        return;
    }
    control->unsetCursor();
    // The painted colours stay the style's own; the dimming applies to the finished drawing.
    if (!qobject_cast<QGraphicsOpacityEffect *>(control->graphicsEffect())) {
        auto *dimming = new QGraphicsOpacityEffect;
        dimming->setOpacity(Theme::Opacity::disabledControl);
        control->setGraphicsEffect(dimming);
    }
}

} // namespace EnabledState
