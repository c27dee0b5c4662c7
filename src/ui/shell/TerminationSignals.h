#pragma once

// The platform's requests to end the process (SIGTERM, SIGHUP, SIGINT) made into a normal exit
// of the event loop, so that the application's own way out runs (a running restore tool is
// stopped first) instead of the process vanishing and leaving the tool to run on unwatched.
namespace TerminationSignals {

// Idempotent; needs the application object.
void exitEventLoopOnSignal();

} // namespace TerminationSignals
