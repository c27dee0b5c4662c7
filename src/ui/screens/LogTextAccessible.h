#pragma once

#include <QAccessibleWidget>

class LogTextView;

// What a screen reader sees of the process log: a read-only multi-line text it can read whole,
// by line or by word, with the user's selection and the caret, as it reads any text view. The
// text is read in place from the view, so an idle reader costs the log nothing.
class LogTextAccessible final : public QAccessibleWidget, public QAccessibleTextInterface {
public:
    explicit LogTextAccessible(LogTextView *view);

    // Makes every LogTextView answer with this interface; safe to call more than once.
    static void install();

    QAccessible::State state() const override;
    void *interface_cast(QAccessible::InterfaceType type) override;

    void selection(int selectionIndex, int *startOffset, int *endOffset) const override;
    int selectionCount() const override;
    void addSelection(int startOffset, int endOffset) override;
    void removeSelection(int selectionIndex) override;
    void setSelection(int selectionIndex, int startOffset, int endOffset) override;
    int cursorPosition() const override;
    void setCursorPosition(int position) override;
    QString text(QAccessible::Text kind) const override;
    QString text(int startOffset, int endOffset) const override;
    int characterCount() const override;
    QRect characterRect(int offset) const override;
    int offsetAtPoint(const QPoint &point) const override;
    void scrollToSubstring(int startIndex, int endIndex) override;
    QString attributes(int offset, int *startOffset, int *endOffset) const override;

private:
    LogTextView *view() const;
};
