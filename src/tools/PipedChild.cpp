#include "tools/PipedChild.h"

#include "tools/CStringList.h"

#include <QFile>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <mutex>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The pipe's ends must not leak into any other child started meanwhile, or end of file would
// wait for that child too. Where a pipe cannot be created close-on-exec in one step, creating
// it and starting the child are serialised, which covers every child the runner starts.
#ifdef __linux__
bool openPipe(std::array<int, 2> &ends)
{
    return ::pipe2(ends.data(), O_CLOEXEC) == 0;
}
std::unique_lock<std::mutex> pipeLock()
{
    return {};
}
#else
bool openPipe(std::array<int, 2> &ends)
{
    if (::pipe(ends.data()) != 0)
        return false;
    ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    return true;
}
std::unique_lock<std::mutex> pipeLock()
{
    static std::mutex mutex;
    return std::unique_lock(mutex);
}
#endif

int spawn(pid_t &pid, const QByteArray &path, int outputEnd, char *const *argv, char *const *envp)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, outputEnd, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, outputEnd, STDERR_FILENO);

    // The worker's signal mask and an ignored SIGPIPE are the application's business, not the
    // tool's.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    const int error = ::posix_spawn(&pid, path.constData(), &actions, &attributes, argv, envp);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

QByteArray readToEnd(int fd)
{
    QByteArray output;
    std::array<char, 64 * 1024> buffer{};
    for (;;) {
        const ssize_t count = ::read(fd, buffer.data(), buffer.size());
        if (count > 0)
            output.append(buffer.data(), qsizetype(count));
        else if (count == 0 || errno != EINTR)
            return output;
    }
}

int waitForExit(pid_t pid)
{
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    if (WIFSIGNALED(status))
        return WTERMSIG(status);
    return WEXITSTATUS(status);
}

} // namespace

namespace PipedChild {

Outcome run(const QString &program, const QStringList &arguments, const QStringList &environment)
{
    const QByteArray path = QFile::encodeName(program);
    CStringList argv = CStringList::fromLocal8Bit(arguments, {path});
    CStringList envp = CStringList::fromLocal8Bit(environment);

    std::array<int, 2> ends{-1, -1};
    pid_t pid = 0;
    int error = 0;
    {
        const auto lock = pipeLock();
        if (!openPipe(ends))
            return Outcome{std::nullopt, {}, qt_error_string(errno)};
        error = spawn(pid, path, ends[1], argv.data(), envp.data());
        ::close(ends[1]);
    }
    if (error != 0) {
        ::close(ends[0]);
        return Outcome{std::nullopt, {}, qt_error_string(error)};
    }

    Outcome outcome;
    outcome.output = readToEnd(ends[0]);
    ::close(ends[0]);
    outcome.status = waitForExit(pid);
    return outcome;
}

} // namespace PipedChild
