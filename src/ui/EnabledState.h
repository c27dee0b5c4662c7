#pragma once

class QWidget;

namespace EnabledState {

// A clickable painted control shows the pointing hand while it is enabled; disabled, it shows
// the ordinary arrow and is drawn whole (content and children together) at reduced opacity,
// the way native controls are dimmed. Call on construction and on every change of the
// enabled state.
void follow(QWidget *control);

} // namespace EnabledState
