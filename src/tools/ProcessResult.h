#pragma once

#include <QString>

// The outcome of one finished child process. A status of -1 means nothing was started (or the
// child itself exited with -1); the output then explains why.
struct ProcessResult {
    int status = 0;
    QString output;
};
