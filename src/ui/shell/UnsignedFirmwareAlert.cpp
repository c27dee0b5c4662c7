#include "ui/shell/UnsignedFirmwareAlert.h"

#include "ui/StudioButton.h"

UnsignedFirmwareAlert::UnsignedFirmwareAlert(QWidget *parent)
    : StudioAlert(QStringLiteral("Полный IPSW не подписан"),
                  QStringLiteral("Каталог Apple не отмечает этот полный образ как подписываемый. Файл можно "
                                 "скачать и проверить, но Apple TSS может отказать при восстановлении."),
                  QStringLiteral("Отмена"), QStringLiteral("Скачать всё равно"), parent)
{
    setObjectName(QStringLiteral("unsignedFirmwareAlert"));
    cancelButton()->setObjectName(QStringLiteral("cancelButton"));
    downloadAnywayButton()->setObjectName(QStringLiteral("downloadAnywayButton"));
    connect(this, &QDialog::accepted, this, &UnsignedFirmwareAlert::downloadConfirmed);
}

UnsignedFirmwareAlert::~UnsignedFirmwareAlert() = default;
