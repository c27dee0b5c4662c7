#include "restore/ChildInterrupt.h"

#include <QProcess>

#include <csignal>
#include <sys/types.h>

namespace ChildInterrupt {

void restoreDefaultReaction(QProcess &process)
{
    // Runs in the forked child before exec; signal() is async-signal-safe.
    process.setChildProcessModifier([] { ::signal(SIGINT, SIG_DFL); });
}

void send(qint64 processId)
{
    if (processId > 0)
        ::kill(pid_t(processId), SIGINT);
}

} // namespace ChildInterrupt
