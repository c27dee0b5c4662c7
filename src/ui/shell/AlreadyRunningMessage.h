#pragma once

// Shown by a start that finds another copy running but cannot reach it to bring its window to
// the front.
namespace AlreadyRunningMessage {

void exec();

} // namespace AlreadyRunningMessage
