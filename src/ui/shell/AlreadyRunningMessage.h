#pragma once

#include <memory>

class QMessageBox;

// Shown by a start that finds another copy running but cannot reach it to bring its window to
// the front.
namespace AlreadyRunningMessage {

std::unique_ptr<QMessageBox> create();
// Shows the message and returns once the user has closed it.
void exec();

} // namespace AlreadyRunningMessage
