#include "ui/shell/AlreadyRunningMessage.h"

#include "ui/shell/MessageBoxLook.h"

#include <QMessageBox>

namespace AlreadyRunningMessage {

std::unique_ptr<QMessageBox> create()
{
    auto message = std::make_unique<QMessageBox>();
    QMessageBox &box = *message;
    box.setObjectName(QStringLiteral("alreadyRunningMessage"));
    box.setIcon(QMessageBox::Information);
    box.setWindowTitle(QStringLiteral("Corvalin Studio"));
    box.setText(QStringLiteral("Corvalin Studio уже запущена"));
    box.setInformativeText(
        QStringLiteral("Перейдите в её окно: второе окно не открывается, чтобы две копии не "
                       "опрашивали часы и не начали восстановление одновременно."));
    MessageBoxLook::apply(box);
    return message;
}

void exec()
{
    create()->exec();
}

} // namespace AlreadyRunningMessage
