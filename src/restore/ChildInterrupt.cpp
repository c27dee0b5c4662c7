#include "restore/ChildInterrupt.h"

#include <QProcess>

#include <csignal>
#include <sys/types.h>
#ifdef Q_OS_LINUX
#include <sys/prctl.h>
#endif

namespace ChildInterrupt {

void prepareChild(QProcess &process)
{
    // Runs in the forked child before exec; signal() and prctl() are async-signal-safe.
    process.setChildProcessModifier([] {
        ::signal(SIGINT, SIG_DFL);
#ifdef Q_OS_LINUX
        ::prctl(PR_SET_PDEATHSIG, SIGINT);
#endif
    });
}

void send(qint64 processId)
{
    if (processId > 0)
        ::kill(pid_t(processId), SIGINT);
}

} // namespace ChildInterrupt
