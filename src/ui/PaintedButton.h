#pragma once

#include <QAbstractButton>

// The base of the kit's painted buttons: Return and Enter click it, as Space does, the way a
// focused native push button answers the keyboard.
class PaintedButton : public QAbstractButton {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaintedButton)

public:
    explicit PaintedButton(QWidget *parent = nullptr);
    ~PaintedButton() override;

protected:
    void keyPressEvent(QKeyEvent *event) override;
};
