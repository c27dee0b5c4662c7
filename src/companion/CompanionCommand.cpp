#include "companion/CompanionCommand.h"

namespace CompanionCommand {

std::optional<Command> parse(const QStringList &arguments)
{
    if (arguments == QStringList{QStringLiteral("--format"), QStringLiteral("JSON"), QStringLiteral("list")})
        return List{};

    const bool restorePrefix =
        arguments.size() >= 4 && arguments.at(0) == QStringLiteral("--ecid") && !arguments.at(1).isEmpty() &&
        arguments.at(2) == QStringLiteral("--progress") && arguments.at(3) == QStringLiteral("restore");
    if (!restorePrefix)
        return std::nullopt;
    if (arguments.size() == 4)
        return Restore{arguments.at(1), std::nullopt};
    if (arguments.size() == 6 && arguments.at(4) == QStringLiteral("--ipsw") && !arguments.at(5).isEmpty())
        return Restore{arguments.at(1), arguments.at(5)};
    return std::nullopt;
}

QString usage()
{
    return QStringLiteral("usage: cfgutil --format JSON list\n"
                          "       cfgutil --ecid ECID --progress restore [--ipsw PATH]\n");
}

} // namespace CompanionCommand
