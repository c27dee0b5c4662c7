#pragma once

#include <QProcessEnvironment>
#include <QString>

#include <optional>

// Stateless lookups of the shipped tools, Apple Configurator, the two folders the
// application writes into and the environment of every child process. Every answer is
// computed afresh, so a tools folder or a Configurator installed while the application runs
// is found at the next call.
namespace ToolLocator {

// The shipped tools: bin/ holds the executables, lib/ their libraries.
QString toolsRoot();
// Absent when Apple Configurator's tool is not installed (not executable).
std::optional<QString> cfgutil();
// Downloads/Corvalin Firmware, created on demand.
QString cacheDirectory();
// The same folder without creating it, for looking up what it already holds.
QString cacheDirectoryPath();
// Application Support/Corvalin Studio/Logs, created on demand.
QString logsDirectory();
// The application's environment with the tools' lib folder first in the library search path
// and LC_ALL=C, so that the tools print messages the parsers can read.
QProcessEnvironment environment();
// The same rule for the tools folder at `root`, for a tool that runs its siblings.
QProcessEnvironment environmentFor(const QString &root);

// The name of the dynamic library search variable on this platform.
QString librarySearchVariable();

} // namespace ToolLocator
