#include "ui/shell/SidebarRow.h"

#include "ui/FocusRing.h"
#include "ui/Icons.h"
#include "ui/Theme.h"

#include <QAccessibleWidget>
#include <QPainter>

namespace {
constexpr int rowHeight = 42;
constexpr int horizontalPadding = 14;
constexpr int spacing = 12;
constexpr int symbolSize = 15;
constexpr int symbolFrame = 22;
constexpr qreal highlightRadius = 11;

QFont titleFont()
{
    return Theme::font(14, QFont::Medium);
}

// A section row is one tab of the window's sections: assistive tools hear which one is selected
// as a state, and can press any of them.
class SidebarRowAccessible final : public QAccessibleWidget {
public:
    explicit SidebarRowAccessible(SidebarRow *row) : QAccessibleWidget(row, QAccessible::PageTab) {}

    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.selectable = true;
        state.selected = static_cast<const SidebarRow *>(widget())->isSelected();
        return state;
    }
    QString text(QAccessible::Text kind) const override
    {
        if (kind == QAccessible::Name)
            return static_cast<const SidebarRow *>(widget())->text();
        return QAccessibleWidget::text(kind);
    }
    QStringList actionNames() const override
    {
        return QStringList{pressAction()} + QAccessibleWidget::actionNames();
    }
    void doAction(const QString &actionName) override
    {
        if (actionName == pressAction())
            static_cast<SidebarRow *>(widget())->click();
        else
            QAccessibleWidget::doAction(actionName);
    }
};

QAccessibleInterface *sidebarRowFactory(const QString &className, QObject *object)
{
    if (className == QLatin1StringView("SidebarRow") && object && object->isWidgetType())
        return new SidebarRowAccessible(static_cast<SidebarRow *>(object));
    return nullptr;
}

void installAccessibleRows()
{
    static const bool installed = [] {
        QAccessible::installFactory(sidebarRowFactory);
        return true;
    }();
    Q_UNUSED(installed)
}
} // namespace

SidebarRow::SidebarRow(NavigationSection section, QWidget *parent) : PaintedButton(parent), m_section(section)
{
    installAccessibleRows();
    setText(Navigation::rawValue(section));
    setObjectName(QStringLiteral("sidebarRow-") + QString::number(int(section)));
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setFixedHeight(rowHeight);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

SidebarRow::~SidebarRow() = default;

void SidebarRow::setSelected(bool selected)
{
    const bool changed = m_selected != selected;
    m_selected = selected;
    update();
    if (changed && QAccessible::isActive()) {
        QAccessible::State selection;
        selection.selected = true;
        QAccessibleStateChangeEvent event(this, selection);
        QAccessible::updateAccessibility(&event);
    }
}

QSize SidebarRow::sizeHint() const
{
    const QFontMetrics metrics(titleFont());
    return {horizontalPadding * 2 + symbolFrame + spacing + metrics.horizontalAdvance(text()), rowHeight};
}

void SidebarRow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area(rect());
    if (m_selected) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(Theme::withOpacity(Theme::white(), Theme::Opacity::sidebarHighlight));
        painter.drawRoundedRect(area, highlightRadius, highlightRadius);
    }
    if (FocusRing::isVisible(this)) {
        painter.setPen(QPen(Theme::focusRing(), Theme::Metrics::focusRingWidth));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(area.adjusted(1, 1, -1, -1), highlightRadius, highlightRadius);
    }

    const QColor colour = m_selected ? Theme::white() : Theme::textSecondary();
    const int box = Theme::Metrics::symbolBox(symbolSize);
    const QRectF frame(horizontalPadding, 0, symbolFrame, height());
    Icons::paint(&painter, QRectF(frame.center().x() - box / 2.0, frame.center().y() - box / 2.0, box, box),
                 Navigation::symbolName(m_section), colour);

    const int textLeft = horizontalPadding + symbolFrame + spacing;
    const QFont font = titleFont();
    const QFontMetrics metrics(font);
    const int available = width() - textLeft - horizontalPadding;
    painter.setFont(font);
    painter.setPen(colour);
    painter.drawText(QRect(textLeft, 0, available, height()), Qt::AlignLeft | Qt::AlignVCenter,
                     metrics.elidedText(text(), Qt::ElideRight, available));
}
