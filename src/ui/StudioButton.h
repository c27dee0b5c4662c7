#pragma once

#include "ui/ButtonStyles.h"

#include "ui/PaintedButton.h"

// A painted push button drawn by one of the kit's button styles, with a label and an optional
// leading symbol. The style reads only the pressed state; a disabled button is dimmed as a
// whole and shows the ordinary arrow pointer, the way native controls show it. Focus is drawn
// as a ring; Space and Return activate it.
class StudioButton final : public PaintedButton {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StudioButton)

public:
    StudioButton(ButtonStyle style, const QString &text, const QString &symbol = {},
                 QWidget *parent = nullptr);
    ~StudioButton() override;

    const ButtonStyle &buttonStyle() const { return m_style; }
    void setButtonStyle(ButtonStyle style);
    QString symbol() const { return m_symbol; }
    void setSymbol(const QString &symbol);

    // What the style draws right now, derived from the pressed state.
    ButtonLook look() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    ButtonStyle m_style;
    QString m_symbol;
};
