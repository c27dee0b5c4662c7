#pragma once

#include "tools/ProcessResult.h"

#include <QCoroTask>
#include <QStringList>

// Runs short-lived tools to completion. Never fails as an error: every outcome is a result.
namespace ProcessRunner {

// Starts `executable` with `arguments` (no shell) and the tool environment, standard output
// and standard error merged in write order, and resumes the caller when the child has exited.
// The caller's thread is never blocked: the child runs outside the event loop and its output
// is collected as it arrives, so a child writing megabytes never stalls on a full pipe.
//
// A child ended by a signal reports the signal's number as its status (as Foundation does on
// macOS); its output up to then is kept.
QCoro::Task<ProcessResult> run(QString executable, QStringList arguments);

} // namespace ProcessRunner
