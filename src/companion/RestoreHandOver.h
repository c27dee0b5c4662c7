#pragma once

#include "companion/CompanionCommand.h"

// Hands a KIS restore over to the real idevicerestore beside this tool. The process is replaced
// by idevicerestore, not made its parent: the output then reaches the application's log as the
// tool writes it, the exit status is the tool's own, and the interrupt the application's stop
// button sends to this process is received by idevicerestore, which cleans up before it exits.
namespace RestoreHandOver {

// Replaces this process; returns only when idevicerestore could not be run, with the exit
// status to end with (127: not there, 126: not runnable), after saying why on standard error.
int exec(const CompanionCommand::Restore &restore);

} // namespace RestoreHandOver
