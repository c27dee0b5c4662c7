#pragma once

#include "ui/shell/StudioAlert.h"

// The question asked before downloading a firmware that the catalogue does not mark as
// signed: cancel, or download anyway.
class UnsignedFirmwareAlert final : public StudioAlert {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UnsignedFirmwareAlert)

public:
    explicit UnsignedFirmwareAlert(QWidget *parent = nullptr);
    ~UnsignedFirmwareAlert() override;

    StudioButton *cancelButton() const { return safeButton(); }
    StudioButton *downloadAnywayButton() const { return destructiveButton(); }

signals:
    // "Скачать всё равно" was chosen; every other ending (cancel, closing the window) is a cancel.
    void downloadConfirmed();
};
