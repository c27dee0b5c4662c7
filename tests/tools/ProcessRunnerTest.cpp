#include "tools/ProcessRunner.h"
#include "support/FakeTools.h"
#include "support/TestPaths.h"
#include "tools/ToolLocator.h"

#include <QCoroTask>
#include <QDir>
#include <QFile>
#include <QTest>
#include <QTimer>

#include <fcntl.h>
#include <unistd.h>

namespace {

ProcessResult runNow(const QString &executable, const QStringList &arguments = {})
{
    return QCoro::waitFor(ProcessRunner::run(executable, arguments));
}

// Gives this process a file as its standard input for the life of the object.
class StandardInputFrom {
public:
    explicit StandardInputFrom(const QString &path)
        : m_saved(::dup(STDIN_FILENO)), m_file(::open(QFile::encodeName(path).constData(), O_RDONLY))
    {
        ::dup2(m_file, STDIN_FILENO);
    }
    ~StandardInputFrom()
    {
        ::dup2(m_saved, STDIN_FILENO);
        ::close(m_saved);
        ::close(m_file);
    }
    StandardInputFrom(const StandardInputFrom &) = delete;
    StandardInputFrom &operator=(const StandardInputFrom &) = delete;

private:
    int m_saved;
    int m_file;
};

} // namespace

class ProcessRunnerTest : public QObject {
    Q_OBJECT

private slots:
    void missingOrNonExecutablePathsStartNothing()
    {
        TestPaths paths;
        const QString missing = paths.tool(QStringLiteral("bin/absent"));
        ProcessResult result = runNow(missing);
        QCOMPARE(result.status, -1);
        QCOMPARE(result.output, QStringLiteral("Инструмент не найден: ") + missing);

        result = runNow(paths.tool(QStringLiteral("bin")));
        QCOMPARE(result.status, -1);
        QCOMPARE(result.output, QStringLiteral("Инструмент не найден: ") + paths.tool(QStringLiteral("bin")));

        const QString plain = paths.tool(QStringLiteral("bin/plain"));
        QFile file(plain);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\ntouch \"$0.ran\"\n");
        file.close();
        result = runNow(plain);
        QCOMPARE(result.status, -1);
        QCOMPARE(result.output, QStringLiteral("Инструмент не найден: ") + plain);
        QVERIFY(!QFile::exists(plain + QStringLiteral(".ran")));
    }

    void startFailureGivesThePlatformDescription()
    {
        TestPaths paths;
        const QString broken = paths.tool(QStringLiteral("bin/broken"));
        QFile file(broken);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("\x7f"
                   "ELF not really a program");
        file.close();
        QVERIFY(file.setPermissions(file.permissions() | QFileDevice::ExeOwner));

        const ProcessResult result = runNow(broken);
        QCOMPARE(result.status, -1);
        QVERIFY(!result.output.isEmpty());
        QVERIFY(!result.output.startsWith(QStringLiteral("Инструмент не найден")));
    }

    void outputAndStatusAreCollected()
    {
        TestPaths paths;
        FakeToolBehaviour behaviour;
        behaviour.chunks = {"first\n", "second"};
        behaviour.exitStatus = 3;
        behaviour.extraShell = "printf 'to stderr\\n' >&2";
        const QString tool = FakeTools::write(paths.tool(QStringLiteral("bin/talker")), behaviour);

        const ProcessResult result =
            runNow(tool, {QStringLiteral("a b"), QStringLiteral("$HOME"), QString()});
        QCOMPARE(result.status, 3);
        QCOMPARE(result.output, QStringLiteral("first\nsecondto stderr\n"));
        QCOMPARE(FakeTools::recordedArguments(tool),
                 (QStringList{QStringLiteral("a b"), QStringLiteral("$HOME"), QString()}));
    }

    void stderrOnlyAndSilentChildren()
    {
        TestPaths paths;
        FakeToolBehaviour errorsOnly;
        errorsOnly.extraShell = "echo 'only errors' >&2";
        errorsOnly.exitStatus = 1;
        ProcessResult result = runNow(FakeTools::write(paths.tool(QStringLiteral("bin/errors")), errorsOnly));
        QCOMPARE(result.status, 1);
        QCOMPARE(result.output, QStringLiteral("only errors\n"));

        result = runNow(FakeTools::write(paths.tool(QStringLiteral("bin/silent")), FakeToolBehaviour{}));
        QCOMPARE(result.status, 0);
        QCOMPARE(result.output, QString());
    }

    void largeOutputDoesNotDeadlock()
    {
        TestPaths paths;
        const QByteArray line(1023, 'x');
        QByteArray big;
        for (int i = 0; i < 6 * 1024; ++i)
            big += line + '\n';
        const ProcessResult result =
            runNow(FakeTools::write(paths.tool(QStringLiteral("bin/big")), FakeToolBehaviour::printing(big)));
        QCOMPARE(result.status, 0);
        QCOMPARE(result.output.size(), big.size());
    }

    void invalidUtf8BecomesReplacementCharacters()
    {
        TestPaths paths;
        const QString tool = FakeTools::write(paths.tool(QStringLiteral("bin/bytes")),
                                              FakeToolBehaviour::printing("ok \xff\xfe end\r\n"));
        const ProcessResult result = runNow(tool);
        QCOMPARE(result.status, 0);
        QVERIFY(result.output.startsWith(QStringLiteral("ok ")));
        QVERIFY(result.output.contains(QChar(0xFFFD)));
        QVERIFY(result.output.endsWith(QStringLiteral(" end\r\n")));
    }

    void childSeesTheToolEnvironment()
    {
        TestPaths paths;
        const QString tool = FakeTools::write(paths.tool(QStringLiteral("bin/env")), FakeToolBehaviour{});
        QVERIFY(runNow(tool).status == 0);
        const QProcessEnvironment seen = FakeTools::recordedEnvironment(tool);
        QCOMPARE(seen.value(QStringLiteral("LC_ALL")), QStringLiteral("C"));
#ifndef Q_OS_MACOS
        // macOS strips DYLD_* variables before a protected program such as /bin/sh, the fake
        // tool's interpreter, starts; the value given to the child is checked by the locator's test.
        QVERIFY(seen.value(ToolLocator::librarySearchVariable())
                    .startsWith(paths.toolsRoot() + QStringLiteral("/lib")));
#endif
    }

    void signalTerminationReportsTheSignalNumber()
    {
        TestPaths paths;
        FakeToolBehaviour behaviour = FakeToolBehaviour::printing("before\n");
        behaviour.extraShell = "kill -TERM $$";
        const ProcessResult result =
            runNow(FakeTools::write(paths.tool(QStringLiteral("bin/killed")), behaviour));
        QCOMPARE(result.status, 15);
        QCOMPARE(result.output, QStringLiteral("before\n"));
    }

    // The output ends when every writer has closed the pipe, not when the child exits: what a
    // child's own background job prints later belongs to the result too.
    void outputIsReadToItsEndBeforeTheExit()
    {
        TestPaths paths;
        FakeToolBehaviour behaviour = FakeToolBehaviour::printing("early\n");
        behaviour.extraShell = "(sleep 0.4; echo late) &";
        const ProcessResult result =
            runNow(FakeTools::write(paths.tool(QStringLiteral("bin/background")), behaviour));
        QCOMPARE(result.status, 0);
        QCOMPARE(result.output, QStringLiteral("early\nlate\n"));
    }

    void childInheritsStandardInput()
    {
        TestPaths paths;
        const QString input = QDir(paths.root()).filePath(QStringLiteral("input.txt"));
        QFile file(input);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("typed by the user\n");
        file.close();
        FakeToolBehaviour reader;
        reader.extraShell = "cat";
        const QString tool = FakeTools::write(paths.tool(QStringLiteral("bin/reader")), reader);

        const StandardInputFrom redirected(input);
        const ProcessResult result = runNow(tool);
        QCOMPARE(result.status, 0);
        QCOMPARE(result.output, QStringLiteral("typed by the user\n"));
    }

    void callerKeepsRunningWhileTheChildWorks()
    {
        // The child finishes only once the caller's event loop has created the gate file, so a
        // runner that blocked its caller would leave the child waiting until it gives up.
        TestPaths paths;
        const QString gate = QDir(paths.root()).filePath(QStringLiteral("gate"));
        FakeToolBehaviour waiting;
        waiting.extraShell =
            "i=0; while [ ! -e '" + gate.toUtf8() +
            "' ]; do i=$((i+1)); [ $i -gt 400 ] && echo gave-up && exit 1; sleep 0.05; done; "
            "printf done";
        const QString tool = FakeTools::write(paths.tool(QStringLiteral("bin/waiting")), waiting);

        QTimer::singleShot(0, this, [gate] { QFile(gate).open(QIODevice::WriteOnly); });
        const ProcessResult result = runNow(tool);
        QCOMPARE(result.output, QStringLiteral("done"));
        QCOMPARE(result.status, 0);
    }
};

QTEST_GUILESS_MAIN(ProcessRunnerTest)
#include "ProcessRunnerTest.moc"
