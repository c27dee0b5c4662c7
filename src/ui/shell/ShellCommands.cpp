#include "ui/shell/ShellCommands.h"

#include "tools/ToolLocator.h"
#include "ui/shell/DesktopOpener.h"

#include <QFileDialog>

namespace ShellCommands {

void openFirmwareFolder()
{
    DesktopOpener::open(QUrl::fromLocalFile(ToolLocator::cacheDirectory()));
}

ManualIPSWChoice chooseManualIPSW(QWidget *parent)
{
    QFileDialog dialog(parent, QStringLiteral("Выберите полный Restore.ipsw"));
    dialog.setFileMode(QFileDialog::ExistingFile);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setNameFilter(QStringLiteral("IPSW (*.ipsw)"));
    dialog.setWindowModality(Qt::WindowModal);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    const QStringList files = dialog.selectedFiles();
    ManualIPSWChoice choice{true, std::nullopt};
    if (!files.isEmpty())
        choice.path = files.constFirst();
    return choice;
}

} // namespace ShellCommands
