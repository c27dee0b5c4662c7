#pragma once

#include <QtGlobal>

class QProcess;

// The one place that speaks POSIX signals to a restore tool, so the manager reads the same on
// macOS and Linux.
namespace ChildInterrupt {

// Makes the child start with the default reaction to an interrupt, even when the application
// itself was started with interrupts ignored (as a background job or under nohup): otherwise
// the ignored disposition is inherited and the tool could never be asked to stop. Where the
// platform offers it (Linux), the child is also interrupted when the application dies without
// a chance to stop it (killed, crashed), rather than running on with nobody reading its output.
void prepareChild(QProcess &process);

// Sends SIGINT, the interactive interrupt: the tool may clean up and exit, unlike with a
// terminate or a kill.
void send(qint64 processId);

} // namespace ChildInterrupt
