#include "ui/screens/RestoreConfirmationSheet.h"

RestoreConfirmationSheet::RestoreConfirmationSheet(StudioModel *, DeviceMonitor *, RestoreManager *,
                                                   QWidget *parent)
    : QDialog(parent)
{}

RestoreConfirmationSheet::~RestoreConfirmationSheet() = default;
