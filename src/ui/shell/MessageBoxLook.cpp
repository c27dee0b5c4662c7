#include "ui/shell/MessageBoxLook.h"

#include "ui/StudioButton.h"
#include "ui/Theme.h"

#include <QMessageBox>

namespace MessageBoxLook {

void apply(QMessageBox &box)
{
    Theme::applyDarkAppearance(&box);
    auto *close = new StudioButton(PrimaryButtonStyle{}, QStringLiteral("ОК"));
    box.addButton(close, QMessageBox::AcceptRole);
    box.setEscapeButton(close);
}

} // namespace MessageBoxLook
