#pragma once

#include <QDialog>

class StudioButton;

// A question with two answers in the studio's own look: a warning sign, a title, a message, and
// the buttons in the order given, the safe answer first in the secondary style and the
// destructive one in the danger style. The safe answer is the default: it has the focus, and
// Escape, Return with the focus elsewhere and closing the window all choose it (reject()).
// accept() means the destructive answer.
class StudioAlert : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StudioAlert)

public:
    StudioAlert(const QString &title, const QString &message, const QString &safeAnswer,
                const QString &destructiveAnswer, QWidget *parent = nullptr);
    ~StudioAlert() override;

    QString title() const { return m_title; }
    QString message() const { return m_message; }
    StudioButton *safeButton() const { return m_safe; }
    StudioButton *destructiveButton() const { return m_destructive; }

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    QString m_title;
    QString m_message;
    StudioButton *m_safe;
    StudioButton *m_destructive;
};
