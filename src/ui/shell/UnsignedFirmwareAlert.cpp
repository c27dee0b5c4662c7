#include "ui/shell/UnsignedFirmwareAlert.h"

#include "ui/Icons.h"
#include "ui/Theme.h"

#include <QPushButton>

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
    m_cancel = addButton(QStringLiteral("Отмена"), QMessageBox::RejectRole);
    m_cancel->setObjectName(QStringLiteral("cancelButton"));
    m_downloadAnyway = addButton(QStringLiteral("Скачать всё равно"), QMessageBox::DestructiveRole);
    m_downloadAnyway->setObjectName(QStringLiteral("downloadAnywayButton"));
    setDefaultButton(qobject_cast<QPushButton *>(m_cancel));
    setEscapeButton(m_cancel);
    setWindowModality(Qt::WindowModal);

    connect(this, &QMessageBox::buttonClicked, this, [this](QAbstractButton *button) {
        if (button == m_downloadAnyway)
            emit downloadConfirmed();
        else
            emit cancelled();
    });
}

UnsignedFirmwareAlert::~UnsignedFirmwareAlert() = default;
