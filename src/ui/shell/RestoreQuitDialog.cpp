#include "ui/shell/RestoreQuitDialog.h"

#include "ui/StudioButton.h"

RestoreQuitDialog::RestoreQuitDialog(QWidget *parent)
    : StudioAlert(QStringLiteral("Восстановление ещё идёт"),
                  QStringLiteral("Если выйти сейчас, процесс восстановления будет остановлен, и часам "
                                 "может понадобиться новое восстановление."),
                  QStringLiteral("Продолжить восстановление"), QStringLiteral("Остановить и выйти"), parent)
{
    setObjectName(QStringLiteral("restoreQuitDialog"));
    keepButton()->setObjectName(QStringLiteral("keepRestoringButton"));
    quitButton()->setObjectName(QStringLiteral("stopAndQuitButton"));
}

RestoreQuitDialog::~RestoreQuitDialog() = default;
