#include "ui/shell/ShellCommands.h"

#include "tools/ToolLocator.h"
#include "ui/shell/DesktopOpener.h"
#include "ui/shell/IpswFileDialog.h"

namespace ShellCommands {

void openFirmwareFolder()
{
    DesktopOpener::open(QUrl::fromLocalFile(ToolLocator::cacheDirectory()));
}

ManualIPSWChoice chooseManualIPSW(QWidget *parent)
{
    // A platform's own chooser answers for itself; should it hand back anything but a restore
    // image, the user is asked again.
    for (;;) {
        IpswFileDialog dialog(parent, ToolLocator::cacheDirectory());
        if (dialog.exec() != QDialog::Accepted)
            return {};
        const QStringList files = dialog.selectedFiles();
        if (files.isEmpty())
            return {true, std::nullopt};
        if (IpswFileDialog::isRestoreImage(files.constFirst()))
            return {true, files.constFirst()};
    }
}

} // namespace ShellCommands
