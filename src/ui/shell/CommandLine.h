#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// The command line: at most one restore image, taken as the chosen one, and the two questions
// a terminal asks (--help, --version), answered without a window. No option changes behaviour.
namespace CommandLine {

// Answers --help or --version on standard output and returns the exit code; otherwise returns
// nothing. Runs before the application object exists, so it needs no display.
std::optional<int> answerWithoutWindow(int argc, char **argv);

struct Request {
    std::optional<QString> file; // absolute
    std::optional<QString> error;
};

// Reads the arguments the application object leaves (its own options taken out).
Request read(const QStringList &arguments);

} // namespace CommandLine
