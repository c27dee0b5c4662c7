#include "ui/shell/UnopenedMessage.h"

#include "ui/shell/MessageBoxLook.h"

#include <QMessageBox>

namespace UnopenedMessage {

void show(QWidget *parent, const QString &title, const QString &whereItIs)
{
    auto *box = new QMessageBox(parent);
    box->setObjectName(QStringLiteral("unopenedMessage"));
    box->setIcon(QMessageBox::Information);
    box->setWindowTitle(title);
    box->setText(title);
    box->setInformativeText(whereItIs);
    box->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    MessageBoxLook::apply(*box);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

} // namespace UnopenedMessage
