#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

// The platform seam of the process runner (POSIX: macOS and Linux). Starts a program with its
// standard output and standard error on one pipe, reads that pipe to end of file, and only then
// reaps the child. Reading to the end means output that a child's own background children
// write later is collected too, and a child writing more than a pipe holds is never blocked.
// Blocks its caller throughout; the runner calls it on a worker thread of its own.
namespace PipedChild {

struct Outcome {
    // Absent when the program could not be started; startError then explains.
    std::optional<int> status;
    QByteArray output;
    QString startError;
};

// The child inherits standard input and the working directory. `environment` holds
// NAME=value entries. A child ended by a signal reports the signal's number as its status.
Outcome run(const QString &program, const QStringList &arguments, const QStringList &environment);

} // namespace PipedChild
