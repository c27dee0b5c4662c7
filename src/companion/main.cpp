// A stand-in for Apple Configurator's cfgutil on Linux, where Configurator does not exist: it
// answers the two command lines the application runs for a watch on its Debug USB port (KIS)
// with the libimobiledevice tools beside it, which handle that mode. It never talks to a
// device itself.
#include "companion/CompanionCommand.h"
#include "companion/ConfiguratorListing.h"
#include "companion/IrecoveryQuery.h"
#include "companion/RestoreHandOver.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

constexpr int usageStatus = 64;
constexpr int toolFailureStatus = 1;

// Standard output carries the JSON alone: the application reads both streams as one, so a
// failure says why on standard error and nothing else is printed then.
int list()
{
    const IrecoveryQuery::Answer answer = IrecoveryQuery::ask();
    if (const auto *failure = std::get_if<IrecoveryQuery::Failure>(&answer)) {
        std::fprintf(stderr, "cfgutil: %s\n", qUtf8Printable(failure->message));
        return toolFailureStatus;
    }
    const auto *device = std::get_if<IrecoveryQuery::Device>(&answer);
    const QByteArray document = ConfiguratorListing::document(device ? std::optional(*device) : std::nullopt);
    std::fwrite(document.constData(), 1, size_t(document.size()), stdout);
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const std::optional<CompanionCommand::Command> command =
        CompanionCommand::parse(application.arguments().mid(1));
    if (!command) {
        std::fputs(qUtf8Printable(CompanionCommand::usage()), stderr);
        return usageStatus;
    }
    if (const auto *restore = std::get_if<CompanionCommand::Restore>(&*command))
        return RestoreHandOver::exec(*restore);
    return list();
}
