#pragma once

#include <QWidget>

class LogTextView;

// The log's dark rounded box around the read-only, selectable, monospaced log text.
class LogBox final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LogBox)

public:
    // text must outlive the box.
    explicit LogBox(const QString *text, QWidget *parent = nullptr);
    ~LogBox() override;

    LogTextView *text() const { return m_text; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    LogTextView *m_text;
};
