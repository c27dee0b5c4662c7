#pragma once

#include "ui/PaintedButton.h"

class QVBoxLayout;

// A button without chrome around any content widget (an ActionRow, a card): it draws only a
// focus ring, and clicks anywhere on the content trigger it. Disabled, it dims its content.
class PlainButton final : public PaintedButton {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PlainButton)

public:
    // Takes ownership of content. accessibleName names the button for assistive tools.
    PlainButton(QWidget *content, const QString &accessibleName, QWidget *parent = nullptr);
    ~PlainButton() override;

    QWidget *content() const { return m_content; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    QWidget *m_content;
    QVBoxLayout *m_layout;
};
