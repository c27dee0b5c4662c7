#include "ui/shell/IpswFileDialog.h"

#include <QFileInfo>

IpswFileDialog::IpswFileDialog(QWidget *parent, const QString &folder)
    : QFileDialog(parent, QStringLiteral("Выберите полный Restore.ipsw"), folder)
{
    setObjectName(QStringLiteral("ipswFileDialog"));
    setFileMode(QFileDialog::ExistingFile);
    setAcceptMode(QFileDialog::AcceptOpen);
    setNameFilter(QStringLiteral("IPSW (*.ipsw)"));
    setWindowModality(Qt::WindowModal);
}

IpswFileDialog::~IpswFileDialog() = default;

bool IpswFileDialog::isRestoreImage(const QString &path)
{
    const QFileInfo file(path);
    return file.isFile() && file.suffix().compare(QLatin1String("ipsw"), Qt::CaseInsensitive) == 0;
}

void IpswFileDialog::accept()
{
    const QStringList files = selectedFiles();
    // A folder goes on to be opened; only a chosen file is held to the extension.
    if (files.size() == 1 && !QFileInfo(files.constFirst()).isDir() && !isRestoreImage(files.constFirst()))
        return;
    QFileDialog::accept();
}
