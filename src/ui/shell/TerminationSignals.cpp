#include "ui/shell/TerminationSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// The handler may only write to a descriptor; the event loop reads it.
int signalSockets[2] = {-1, -1};

void onSignal(int signalNumber)
{
    const char byte = char(signalNumber);
    [[maybe_unused]] const auto written = ::write(signalSockets[0], &byte, 1);
}

} // namespace

namespace TerminationSignals {

void exitEventLoopOnSignal()
{
    if (signalSockets[0] >= 0 || ::socketpair(AF_UNIX, SOCK_STREAM, 0, signalSockets) != 0)
        return;
    auto *notifier =
        new QSocketNotifier(signalSockets[1], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [] {
        char byte = 0;
        if (::read(signalSockets[1], &byte, 1) == 1)
            QCoreApplication::exit(128 + byte);
    });

    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signalNumber : {SIGTERM, SIGHUP, SIGINT})
        ::sigaction(signalNumber, &action, nullptr);
}

} // namespace TerminationSignals
