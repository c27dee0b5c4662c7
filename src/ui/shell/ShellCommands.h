#pragma once

#include "app/StudioModel.h"

class QWidget;

// Actions of the application entry that belong to no screen.
namespace ShellCommands {

// Opens the firmware cache folder in the file manager; looking the folder up creates it.
void openFirmwareFolder();

// The production file chooser: a modal dialog for exactly one existing ".ipsw" file.
ManualIPSWChoice chooseManualIPSW(QWidget *parent);

} // namespace ShellCommands
