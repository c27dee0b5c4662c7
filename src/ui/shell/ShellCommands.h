#pragma once

#include "app/model/StudioModel.h"

#include <functional>

class QWidget;

// Actions of the application entry that belong to no screen.
namespace ShellCommands {

// Opens the firmware cache folder in the file manager; looking the folder up creates it. When
// no file manager opens it, a message over `parent` says where it is.
void openFirmwareFolder(QWidget *parent);

// The production file chooser: a window-modal dialog for exactly one existing ".ipsw" file,
// opened without waiting for it (no event loop of its own: polling, downloads and the quit
// guard go on as usual). answer receives the user's choice once the dialog is closed; the
// dialog goes with parent.
void chooseManualIPSW(QWidget *parent, std::function<void(const ManualIPSWChoice &)> answer);

// A file opened without the chooser (given on the command line, passed on by a later start,
// dropped on the window): held to the chooser's rule, then taken as the chooser's answer is.
// Anything else is refused with a line in the log.
bool takeRestoreImage(StudioModel *model, const QString &path);

} // namespace ShellCommands
