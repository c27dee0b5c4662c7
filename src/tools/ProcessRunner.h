#pragma once

#include "tools/ProcessResult.h"

#include <QCoroTask>
#include <QStringList>

// Runs short-lived tools to completion. Never fails as an error: every outcome is a result.
namespace ProcessRunner {

// Starts `executable` with `arguments` (no shell) and the tool environment, standard output
// and standard error merged in write order, and resumes the caller once the output has reached
// its end and the child has exited. The child, the reading and the decoding all run on a worker
// thread of this call's own; the caller's thread is never blocked. The child inherits standard
// input and the working directory.
//
// A child ended by a signal reports the signal's number as its status (as Foundation does on
// macOS); its output up to then is kept.
QCoro::Task<ProcessResult> run(QString executable, QStringList arguments);

} // namespace ProcessRunner
