#pragma once

#include <QByteArray>
#include <QList>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

// What a fake tool does when it runs, in this order: record its arguments and
// environment, write each chunk (pausing between chunks), exit with the status.
struct FakeToolBehaviour {
    QList<QByteArray> chunks;
    double secondsBetweenChunks = 0;
    int exitStatus = 0;
    // Shell commands run after the chunks, before exiting (for special cases like a signal).
    QByteArray extraShell;

    static FakeToolBehaviour printing(const QByteArray &output, int exitStatus = 0)
    {
        FakeToolBehaviour behaviour;
        behaviour.chunks = {output};
        behaviour.exitStatus = exitStatus;
        return behaviour;
    }
    static FakeToolBehaviour running(const QByteArray &shell)
    {
        FakeToolBehaviour behaviour;
        behaviour.extraShell = shell;
        return behaviour;
    }
    static FakeToolBehaviour printingThen(const QByteArray &output, const QByteArray &shell = {},
                                          int exitStatus = 0)
    {
        FakeToolBehaviour behaviour = printing(output, exitStatus);
        behaviour.extraShell = shell;
        return behaviour;
    }
};

// Fake tools: small shell scripts that stand in for the real ones. Each records the arguments
// and environment of its last run beside itself, so tests can check exactly how it was started.
namespace FakeTools {

// Writes an executable script at `path` (creating its folder) and returns the path.
QString write(const QString &path, const FakeToolBehaviour &behaviour);
QStringList recordedArguments(const QString &toolPath);
QProcessEnvironment recordedEnvironment(const QString &toolPath);
// How often the tool has run since it was written.
int runCount(const QString &toolPath);

} // namespace FakeTools
