#include "ui/shell/AlreadyRunningMessage.h"

#include "ui/StudioButton.h"
#include "ui/Theme.h"

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
    Theme::applyDarkAppearance(&box);
    auto *close = new StudioButton(PrimaryButtonStyle{}, QStringLiteral("ОК"));
    box.addButton(close, QMessageBox::AcceptRole);
    box.setEscapeButton(close);
    return message;
}

void exec()
{
    create()->exec();
}

} // namespace AlreadyRunningMessage
