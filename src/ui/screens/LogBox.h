#pragma once

#include <QWidget>

class QPlainTextEdit;

// The log's dark rounded box around a read-only, selectable, monospaced text.
class LogBox final : public QWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LogBox)

public:
    explicit LogBox(QWidget *parent = nullptr);
    ~LogBox() override;

    QPlainTextEdit *text() const { return m_text; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPlainTextEdit *m_text;
};
