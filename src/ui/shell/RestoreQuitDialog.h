#pragma once

#include "ui/shell/StudioAlert.h"

// Asked when the window is closed or the application quits while a restore tool runs. Keeping
// the application open is the safe answer and the default; accept() means quit anyway.
class RestoreQuitDialog final : public StudioAlert {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RestoreQuitDialog)

public:
    explicit RestoreQuitDialog(QWidget *parent = nullptr);
    ~RestoreQuitDialog() override;

    StudioButton *keepButton() const { return safeButton(); }
    StudioButton *quitButton() const { return destructiveButton(); }
};
