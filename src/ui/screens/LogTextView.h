#pragma once

#include <QAbstractScrollArea>
#include <QList>

// A read-only, selectable view of a text that only ever grows, such as the process log.
//
// It reads the text in place (no copy is kept, so the owner's appends never have to detach
// it), indexes line starts only in the part it has not seen yet, and paints only the rows in
// view. Long lines wrap at the width of the view; the font is monospaced, so a line's rows
// follow from its length alone. Ingesting a log of hundreds of thousands of lines costs a scan for line
// feeds, not a document of paragraphs.
class LogTextView final : public QAbstractScrollArea {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LogTextView)

public:
    // text must outlive the view.
    explicit LogTextView(const QString *text, QWidget *parent = nullptr);
    ~LogTextView() override;

    // Takes in what was appended since the last call and scrolls to the end when there was any.
    void catchUp();
    // What the view holds so far.
    QString text() const { return m_text->left(m_seen); }
    qsizetype length() const { return m_seen; }
    QString selectedText() const;
    void selectAll();
    void copySelection() const;
    bool isAtEnd() const;
    // Selects from anchor to cursor (offsets into the text held so far) and repaints.
    void select(qsizetype anchor, qsizetype cursor);
    // Where the character at offset is drawn, in viewport coordinates; null when out of view.
    QRect characterRect(qsizetype offset) const;
    // Scrolls just enough that the row holding offset is in view.
    void scrollToOffset(qsizetype offset);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    friend class LogTextAccessible;

    qsizetype lineStart(qsizetype line) const { return m_lineStarts.at(line); }
    // End of the line's text, without its line feed.
    qsizetype lineEnd(qsizetype line) const;
    QString lineText(qsizetype line) const;
    qsizetype offsetAt(const QPoint &position) const;
    qsizetype lineOfRow(qsizetype row) const;
    qsizetype lineOfOffset(qsizetype offset) const;
    qsizetype rowOfOffset(qsizetype offset) const;
    int lineHeight() const;
    int visibleRowCount() const;
    int columnsPerRow() const;
    // Counts the rows of the lines from `line` on, after they grew or the width changed.
    void countRowsFrom(qsizetype line);
    void updateScrollBar();

    const QString *m_text;
    qsizetype m_seen = 0;
    QList<qsizetype> m_lineStarts{0};
    // First row of each line, and the total row count last.
    QList<qsizetype> m_rowStarts{0, 1};
    int m_columns = 1;
    qsizetype m_anchor = 0;
    qsizetype m_cursor = 0;
};
