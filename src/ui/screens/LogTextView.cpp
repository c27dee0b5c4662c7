#include "ui/screens/LogTextView.h"

#include "ui/Theme.h"
#include "ui/screens/LogTextAccessible.h"

#include <QAccessible>

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>

namespace {

constexpr int textSize = 11;

} // namespace

LogTextView::LogTextView(const QString *text, QWidget *parent) : QAbstractScrollArea(parent), m_text(text)
{
    LogTextAccessible::install();
    setFrameShape(QFrame::NoFrame);
    setFont(Theme::font(textSize, QFont::Normal, Theme::FontDesign::monospaced));
    setFocusPolicy(Qt::StrongFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setCursor(Qt::IBeamCursor);
    viewport()->setAutoFillBackground(false);
    setAutoFillBackground(false);
    verticalScrollBar()->setSingleStep(1);
    catchUp();
}

LogTextView::~LogTextView() = default;

void LogTextView::catchUp()
{
    const qsizetype size = m_text->size();
    if (size < m_seen) {
        // The log never shrinks while the process lives; start over if it ever does.
        m_seen = 0;
        m_lineStarts = {0};
        m_rowStarts = {0, 1};
        m_anchor = m_cursor = 0;
    }
    if (size == m_seen)
        return;
    const qsizetype before = m_seen;
    // The last line seen so far may have grown; it is counted again with the new ones.
    const qsizetype firstChanged = m_lineStarts.size() - 1;
    const QStringView text(*m_text);
    for (qsizetype feed = text.indexOf(u'\n', m_seen); feed >= 0; feed = text.indexOf(u'\n', feed + 1))
        m_lineStarts.append(feed + 1);
    m_seen = size;
    countRowsFrom(firstChanged);
    updateScrollBar();
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
    viewport()->update();
    // Screen readers read the text through its interface; they only hear what was added.
    if (QAccessible::isActive()) {
        QAccessibleTextInsertEvent inserted(this, int(before), m_text->mid(before, size - before));
        QAccessible::updateAccessibility(&inserted);
    }
}

void LogTextView::select(qsizetype anchor, qsizetype cursor)
{
    m_anchor = std::clamp<qsizetype>(anchor, 0, m_seen);
    m_cursor = std::clamp<qsizetype>(cursor, 0, m_seen);
    viewport()->update();
}

qsizetype LogTextView::lineOfOffset(qsizetype offset) const
{
    return std::upper_bound(m_lineStarts.cbegin(), m_lineStarts.cend(), offset) - m_lineStarts.cbegin() - 1;
}

qsizetype LogTextView::rowOfOffset(qsizetype offset) const
{
    const qsizetype line = lineOfOffset(offset);
    const qsizetype column = std::min(offset, lineEnd(line)) - lineStart(line);
    return std::min(m_rowStarts.at(line + 1) - 1, m_rowStarts.at(line) + column / m_columns);
}

QRect LogTextView::characterRect(qsizetype offset) const
{
    if (offset < 0 || offset >= m_seen)
        return {};
    const qsizetype row = rowOfOffset(offset) - verticalScrollBar()->value();
    if (row < 0 || row > visibleRowCount())
        return {};
    const qsizetype line = lineOfOffset(offset);
    const qsizetype rowStart = lineStart(line) + (rowOfOffset(offset) - m_rowStarts.at(line)) * m_columns;
    const QFontMetrics metrics = fontMetrics();
    const int x = metrics.horizontalAdvance(m_text->mid(rowStart, offset - rowStart));
    const QChar character = m_text->at(offset);
    const int width = metrics.horizontalAdvance(character == u'\n' ? QChar(u' ') : character);
    return {x, int(row) * lineHeight(), std::max(1, width), lineHeight()};
}

void LogTextView::scrollToOffset(qsizetype offset)
{
    const int row = int(rowOfOffset(std::clamp<qsizetype>(offset, 0, m_seen)));
    QScrollBar *bar = verticalScrollBar();
    if (row < bar->value())
        bar->setValue(row);
    else if (row >= bar->value() + visibleRowCount())
        bar->setValue(row - visibleRowCount() + 1);
}

void LogTextView::countRowsFrom(qsizetype line)
{
    m_rowStarts.resize(line + 1);
    for (qsizetype i = line; i < m_lineStarts.size(); ++i) {
        const qsizetype length = lineEnd(i) - lineStart(i);
        m_rowStarts.append(m_rowStarts.at(i) + std::max<qsizetype>(1, (length + m_columns - 1) / m_columns));
    }
}

bool LogTextView::isAtEnd() const
{
    return verticalScrollBar()->value() == verticalScrollBar()->maximum();
}

qsizetype LogTextView::lineEnd(qsizetype line) const
{
    return line + 1 < m_lineStarts.size() ? m_lineStarts.at(line + 1) - 1 : m_seen;
}

QString LogTextView::lineText(qsizetype line) const
{
    return m_text->mid(lineStart(line), lineEnd(line) - lineStart(line));
}

qsizetype LogTextView::lineOfRow(qsizetype row) const
{
    const auto after = std::upper_bound(m_rowStarts.cbegin(), m_rowStarts.cend() - 1, row);
    return std::max<qsizetype>(0, after - m_rowStarts.cbegin() - 1);
}

int LogTextView::lineHeight() const
{
    return fontMetrics().lineSpacing();
}

int LogTextView::visibleRowCount() const
{
    return std::max(1, viewport()->height() / lineHeight());
}

int LogTextView::columnsPerRow() const
{
    return std::max(1, viewport()->width() / std::max(1, fontMetrics().horizontalAdvance(u'0')));
}

void LogTextView::updateScrollBar()
{
    const qsizetype rows = m_rowStarts.constLast();
    verticalScrollBar()->setPageStep(visibleRowCount());
    verticalScrollBar()->setRange(0, int(std::max<qsizetype>(0, rows - visibleRowCount())));
}

void LogTextView::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    const bool atEnd = isAtEnd();
    const qsizetype topLine = lineOfRow(verticalScrollBar()->value());
    if (columnsPerRow() != m_columns) {
        m_columns = columnsPerRow();
        countRowsFrom(0);
    }
    updateScrollBar();
    verticalScrollBar()->setValue(atEnd ? verticalScrollBar()->maximum() : int(m_rowStarts.at(topLine)));
}

void LogTextView::paintEvent(QPaintEvent *)
{
    QPainter painter(viewport());
    painter.setFont(font());
    const QFontMetrics metrics = fontMetrics();
    const qsizetype selectionStart = std::min(m_anchor, m_cursor);
    const qsizetype selectionEnd = std::max(m_anchor, m_cursor);
    const QColor selection = palette().color(QPalette::Highlight);
    const qsizetype firstRow = verticalScrollBar()->value();
    qsizetype line = lineOfRow(firstRow);
    for (qsizetype row = firstRow; row <= firstRow + visibleRowCount() && line < m_lineStarts.size(); ++row) {
        while (line < m_lineStarts.size() - 1 && row >= m_rowStarts.at(line + 1))
            ++line;
        if (row >= m_rowStarts.constLast())
            break;
        const qsizetype start = lineStart(line) + (row - m_rowStarts.at(line)) * m_columns;
        const qsizetype end = std::min(lineEnd(line), start + m_columns);
        const QString text = m_text->mid(start, end - start);
        const int top = int(row - firstRow) * lineHeight();
        const qsizetype from = std::max(selectionStart, start);
        const qsizetype to = std::min(selectionEnd, end);
        if (selectionStart != selectionEnd && from <= to) {
            const int x0 = metrics.horizontalAdvance(text.left(from - start));
            // A selected line feed shows as a little room after the line's last row.
            const bool feedSelected = end == lineEnd(line) && selectionEnd > end;
            const int x1 = metrics.horizontalAdvance(text.left(to - start)) +
                           (feedSelected ? metrics.horizontalAdvance(u' ') : 0);
            if (x1 > x0)
                painter.fillRect(QRect(x0, top, x1 - x0, lineHeight()), selection);
        }
        painter.setPen(Theme::logText());
        painter.drawText(QPoint(0, top + metrics.ascent()), text);
    }
}

qsizetype LogTextView::offsetAt(const QPoint &position) const
{
    const qsizetype row = std::clamp<qsizetype>(verticalScrollBar()->value() + position.y() / lineHeight(), 0,
                                                m_rowStarts.constLast() - 1);
    const qsizetype line = lineOfRow(row);
    const qsizetype start = lineStart(line) + (row - m_rowStarts.at(line)) * m_columns;
    const qsizetype end = std::min(lineEnd(line), start + m_columns);
    const QFontMetrics metrics = fontMetrics();
    int advance = 0;
    for (qsizetype offset = start; offset < end; ++offset) {
        const int width = metrics.horizontalAdvance(m_text->at(offset));
        if (position.x() < advance + width / 2)
            return offset;
        advance += width;
    }
    return end;
}

void LogTextView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return QAbstractScrollArea::mousePressEvent(event);
    m_cursor = offsetAt(event->position().toPoint());
    if (!(event->modifiers() & Qt::ShiftModifier))
        m_anchor = m_cursor;
    viewport()->update();
}

void LogTextView::mouseMoveEvent(QMouseEvent *event)
{
    if (!(event->buttons() & Qt::LeftButton))
        return QAbstractScrollArea::mouseMoveEvent(event);
    const QPoint position = event->position().toPoint();
    // Dragging past the edges scrolls the log along.
    if (position.y() < 0)
        verticalScrollBar()->setValue(verticalScrollBar()->value() - 1);
    else if (position.y() > viewport()->height())
        verticalScrollBar()->setValue(verticalScrollBar()->value() + 1);
    m_cursor = offsetAt(position);
    viewport()->update();
}

void LogTextView::mouseDoubleClickEvent(QMouseEvent *event)
{
    // A double click takes the whole line.
    const qsizetype offset = offsetAt(event->position().toPoint());
    const qsizetype line = lineOfOffset(offset);
    m_anchor = lineStart(line);
    m_cursor = lineEnd(line);
    viewport()->update();
}

void LogTextView::copySelection() const
{
    if (m_anchor != m_cursor)
        QGuiApplication::clipboard()->setText(selectedText());
}

void LogTextView::contextMenuEvent(QContextMenuEvent *event)
{
    QMenu menu(this);
    QAction *copy = menu.addAction(QStringLiteral("Копировать"), this, &LogTextView::copySelection);
    copy->setShortcut(QKeySequence::Copy);
    copy->setEnabled(m_anchor != m_cursor);
    menu.addAction(QStringLiteral("Выделить всё"), this, &LogTextView::selectAll)
        ->setShortcut(QKeySequence::SelectAll);
    menu.exec(event->globalPos());
}

// The box around the view draws the focus ring.
void LogTextView::focusInEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusInEvent(event);
    if (parentWidget())
        parentWidget()->update();
}

void LogTextView::focusOutEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusOutEvent(event);
    if (parentWidget())
        parentWidget()->update();
}

void LogTextView::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy)) {
        copySelection();
        return;
    }
    if (event->matches(QKeySequence::SelectAll)) {
        selectAll();
        return;
    }
    QAbstractScrollArea::keyPressEvent(event);
}

QString LogTextView::selectedText() const
{
    const qsizetype start = std::min(m_anchor, m_cursor);
    return m_text->mid(start, std::max(m_anchor, m_cursor) - start);
}

void LogTextView::selectAll()
{
    m_anchor = 0;
    m_cursor = m_seen;
    viewport()->update();
}
