#include "ui/screens/LogTextAccessible.h"

#include "ui/screens/LogTextView.h"

#include <QScrollBar>

namespace {

QAccessibleInterface *logTextFactory(const QString &className, QObject *object)
{
    if (className == QLatin1StringView("LogTextView") && object && object->isWidgetType())
        return new LogTextAccessible(static_cast<LogTextView *>(object));
    return nullptr;
}

} // namespace

LogTextAccessible::LogTextAccessible(LogTextView *view) : QAccessibleWidget(view, QAccessible::EditableText)
{}

void LogTextAccessible::install()
{
    static const bool installed = [] {
        QAccessible::installFactory(logTextFactory);
        return true;
    }();
    Q_UNUSED(installed)
}

LogTextView *LogTextAccessible::view() const
{
    return static_cast<LogTextView *>(widget());
}

QAccessible::State LogTextAccessible::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.readOnly = true;
    state.multiLine = true;
    state.selectableText = true;
    return state;
}

void *LogTextAccessible::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

QString LogTextAccessible::text(QAccessible::Text kind) const
{
    // The whole log is the value; the name stays the box's title.
    if (kind == QAccessible::Value)
        return view()->text();
    return QAccessibleWidget::text(kind);
}

void LogTextAccessible::selection(int selectionIndex, int *startOffset, int *endOffset) const
{
    *startOffset = *endOffset = 0;
    if (selectionIndex != 0 || selectionCount() == 0)
        return;
    *startOffset = int(std::min(view()->m_anchor, view()->m_cursor));
    *endOffset = int(std::max(view()->m_anchor, view()->m_cursor));
}

int LogTextAccessible::selectionCount() const
{
    return view()->m_anchor != view()->m_cursor ? 1 : 0;
}

void LogTextAccessible::addSelection(int startOffset, int endOffset)
{
    setSelection(0, startOffset, endOffset);
}

void LogTextAccessible::removeSelection(int selectionIndex)
{
    if (selectionIndex == 0)
        view()->select(view()->m_cursor, view()->m_cursor);
}

void LogTextAccessible::setSelection(int selectionIndex, int startOffset, int endOffset)
{
    if (selectionIndex == 0)
        view()->select(startOffset, endOffset);
}

int LogTextAccessible::cursorPosition() const
{
    return int(view()->m_cursor);
}

void LogTextAccessible::setCursorPosition(int position)
{
    view()->select(position, position);
}

QString LogTextAccessible::text(int startOffset, int endOffset) const
{
    const qsizetype length = view()->length();
    const qsizetype start = std::clamp<qsizetype>(startOffset, 0, length);
    const qsizetype end = std::clamp<qsizetype>(endOffset, start, length);
    return view()->m_text->mid(start, end - start);
}

int LogTextAccessible::characterCount() const
{
    return int(view()->length());
}

QRect LogTextAccessible::characterRect(int offset) const
{
    const QRect local = view()->characterRect(offset);
    if (local.isNull())
        return {};
    return QRect(view()->viewport()->mapToGlobal(local.topLeft()), local.size());
}

int LogTextAccessible::offsetAtPoint(const QPoint &point) const
{
    const QPoint local = view()->viewport()->mapFromGlobal(point);
    if (!view()->viewport()->rect().contains(local))
        return -1;
    return int(view()->offsetAt(local));
}

void LogTextAccessible::scrollToSubstring(int startIndex, int)
{
    view()->scrollToOffset(startIndex);
}

QString LogTextAccessible::attributes(int offset, int *startOffset, int *endOffset) const
{
    // One look for the whole text.
    Q_UNUSED(offset)
    *startOffset = 0;
    *endOffset = characterCount();
    return {};
}
