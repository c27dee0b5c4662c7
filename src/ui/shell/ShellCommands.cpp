#include "ui/shell/ShellCommands.h"

#include "restore/RestoreManager.h"
#include "tools/ToolLocator.h"
#include "ui/shell/DesktopOpener.h"
#include "ui/shell/IpswFileDialog.h"
#include "ui/shell/UnopenedMessage.h"

#include <QDir>

namespace ShellCommands {

void openFirmwareFolder(QWidget *parent)
{
    const QString folder = ToolLocator::cacheDirectory();
    if (!DesktopOpener::open(QUrl::fromLocalFile(folder)))
        UnopenedMessage::show(
            parent, QStringLiteral("Не удалось открыть папку прошивок"),
            QStringLiteral("Прошивки лежат в папке %1").arg(QDir::toNativeSeparators(folder)));
}

bool takeRestoreImage(StudioModel *model, const QString &path)
{
    if (!IpswFileDialog::isRestoreImage(path)) {
        model->restoreManager()->appendLog(
            QStringLiteral("Файл не открыт: это не образ восстановления .ipsw: ") + path);
        return false;
    }
    model->takeManualIPSW({true, path});
    return true;
}

void chooseManualIPSW(QWidget *parent, std::function<void(const ManualIPSWChoice &)> answer)
{
    auto *dialog = new IpswFileDialog(parent, ToolLocator::cacheDirectory());
    QObject::connect(dialog, &QDialog::finished, dialog, [dialog, parent, answer](int result) {
        dialog->deleteLater();
        if (result != QDialog::Accepted) {
            answer({});
            return;
        }
        const QStringList files = dialog->selectedFiles();
        if (files.isEmpty()) {
            answer({true, std::nullopt});
            return;
        }
        if (IpswFileDialog::isRestoreImage(files.constFirst())) {
            answer({true, files.constFirst()});
            return;
        }
        // A platform's own chooser answers for itself; should it hand back anything but a
        // restore image, the user is asked again, in a fresh dialog as at first.
        chooseManualIPSW(parent, answer);
    });
    dialog->open();
}

} // namespace ShellCommands
