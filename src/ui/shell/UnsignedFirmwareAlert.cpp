#include "ui/shell/UnsignedFirmwareAlert.h"

#include "ui/Icons.h"
#include "ui/StudioButton.h"
#include "ui/Theme.h"

UnsignedFirmwareAlert::UnsignedFirmwareAlert(QWidget *parent) : QMessageBox(parent)
{
    setObjectName(QStringLiteral("unsignedFirmwareAlert"));
    setIconPixmap(Icons::pixmap(QStringLiteral("exclamationmark.triangle.fill"), Theme::orange(),
                                QSize(44, 44), devicePixelRatioF()));
    setWindowTitle(QStringLiteral("Полный IPSW не подписан"));
    setText(QStringLiteral("Полный IPSW не подписан"));
    setInformativeText(
        QStringLiteral("Каталог Apple не отмечает этот полный образ как подписываемый. Файл можно "
                       "скачать и проверить, но Apple TSS может отказать при восстановлении."));
    Theme::applyDarkAppearance(this);
    // The kit's buttons: cancel in the secondary style, the destructive choice in the danger style.
    m_cancel = new StudioButton(SecondaryButtonStyle{}, QStringLiteral("Отмена"));
    m_cancel->setObjectName(QStringLiteral("cancelButton"));
    addButton(m_cancel, QMessageBox::RejectRole);
    m_downloadAnyway = new StudioButton(DangerButtonStyle{}, QStringLiteral("Скачать всё равно"));
    m_downloadAnyway->setObjectName(QStringLiteral("downloadAnywayButton"));
    addButton(m_downloadAnyway, QMessageBox::DestructiveRole);
    setEscapeButton(m_cancel);
    m_cancel->setFocus();
    setWindowModality(Qt::WindowModal);

    connect(this, &QMessageBox::buttonClicked, this, [this](QAbstractButton *button) {
        if (button == m_downloadAnyway)
            emit downloadConfirmed();
        else
            emit cancelled();
    });
}

UnsignedFirmwareAlert::~UnsignedFirmwareAlert() = default;
