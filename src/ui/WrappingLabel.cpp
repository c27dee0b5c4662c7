#include "ui/WrappingLabel.h"

#include <algorithm>

namespace {
// A window dragged wider asks a new width at every step; old answers are not worth keeping.
constexpr qsizetype keptHeights = 8;
} // namespace

WrappingLabel::WrappingLabel(const QString &text, QWidget *parent) : QLabel(text, parent)
{
    setWordWrap(true);
}

WrappingLabel::~WrappingLabel() = default;

WrappingLabel::Layout WrappingLabel::currentLayout() const
{
    return {text(), font(), contentsMargins(), frameWidth(), margin(), indent(), textFormat()};
}

int WrappingLabel::heightForWidth(int width) const
{
    Layout layout = currentLayout();
    if (!(layout == m_layout)) {
        m_layout = std::move(layout);
        m_heights.clear();
    }
    const auto known =
        std::find_if(m_heights.cbegin(), m_heights.cend(),
                     [width](const std::pair<int, int> &entry) { return entry.first == width; });
    if (known != m_heights.cend())
        return known->second;
    const int height = QLabel::heightForWidth(width);
    if (m_heights.size() == keptHeights)
        m_heights.remove(0);
    m_heights.append({width, height});
    return height;
}
