#include "ui/PaintedButton.h"

#include <QKeyEvent>

PaintedButton::PaintedButton(QWidget *parent) : QAbstractButton(parent) {}

PaintedButton::~PaintedButton() = default;

void PaintedButton::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        event->accept();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}
