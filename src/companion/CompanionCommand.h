#pragma once

#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

// The two command lines the application runs Apple Configurator's tool with, and nothing else.
namespace CompanionCommand {

// `--format JSON list`
struct List {};

// `--ecid ECID --progress restore [--ipsw PATH]`
struct Restore {
    QString ecid;
    std::optional<QString> imagePath; // absent: the latest signed firmware
};

using Command = std::variant<List, Restore>;

// Absent for any other command line, including these two in another order.
std::optional<Command> parse(const QStringList &arguments);

// What to print on standard error when parse() gives nothing.
QString usage();

} // namespace CompanionCommand
