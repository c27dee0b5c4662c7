#include "tools/ProcessRunner.h"
#include "support/FakeTools.h"
#include "support/StandardInputFrom.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"
#include "tools/ToolLocator.h"

#include <QCoroTask>
#include <QDir>
#include <QFile>
#include <QTest>
#include <QTimer>

namespace {

ProcessResult runNow(const QString &executable, const QStringList &arguments = {})
{
    return QCoro::waitFor(ProcessRunner::run(executable, arguments));
}

} // namespace

class ProcessRunnerTest : public QObject {
    Q_OBJECT

private slots:
    // Nothing runs: a missing path, a folder or a file without the execute bit is "not found";
    // a file the system cannot start gets the platform's own description.
    void pathsThatStartNothing_data()
    {
        QTest::addColumn<QString>("path");        // inside the tools folder
        QTest::addColumn<QByteArray>("contents"); // empty: nothing written there
        QTest::addColumn<bool>("executable");
        QTest::addColumn<bool>("notFound");
        QTest::newRow("missing") << "bin/absent" << QByteArray() << false << true;
        QTest::newRow("folder") << "bin" << QByteArray() << false << true;
        QTest::newRow("not executable")
            << "bin/plain" << QByteArray("#!/bin/sh\ntouch \"$0.ran\"\n") << false << true;
        QTest::newRow("not a program") << "bin/broken"
                                       << QByteArray("\x7f"
                                                     "ELF not really a program")
                                       << true << false;
    }
    void pathsThatStartNothing()
    {
        QFETCH(QString, path);
        QFETCH(QByteArray, contents);
        QFETCH(bool, executable);
        QFETCH(bool, notFound);
        TestPaths paths;
        const QString tool = paths.tool(path);
        if (!contents.isEmpty())
            QVERIFY(writeFile(tool, contents));
        if (executable)
            QVERIFY(QFile::setPermissions(tool, QFile::permissions(tool) | QFileDevice::ExeOwner));

        const ProcessResult result = runNow(tool);
        QCOMPARE(result.status, -1);
        QVERIFY(!result.output.isEmpty());
        QCOMPARE(result.output == QStringLiteral("Инструмент не найден: ") + tool, notFound);
        QVERIFY(!QFile::exists(tool + QStringLiteral(".ran")));
    }

    // Both streams in the order written, decoded as UTF-8, read until every writer has closed
    // the pipe (a child's own background job counts), with the status or the ending signal.
    void outputAndStatusAreCollected_data()
    {
        QTest::addColumn<FakeToolBehaviour>("behaviour");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("output");

        FakeToolBehaviour both;
        both.chunks = {"first\n", "second"};
        both.exitStatus = 3;
        both.extraShell = "printf 'to stderr\\n' >&2";
        QTest::newRow("both streams") << both << 3 << QStringLiteral("first\nsecondto stderr\n");
        FakeToolBehaviour errorsOnly;
        errorsOnly.extraShell = "echo 'only errors' >&2";
        errorsOnly.exitStatus = 1;
        QTest::newRow("standard error only") << errorsOnly << 1 << QStringLiteral("only errors\n");
        QTest::newRow("silent") << FakeToolBehaviour{} << 0 << QString();
        QTest::newRow("invalid UTF-8")
            << FakeToolBehaviour::printing("ok \xff end\r\n") << 0 << QStringLiteral("ok \uFFFD end\r\n");
        const QByteArray big = QByteArray(1023, 'x').append('\n').repeated(6 * 1024);
        QTest::newRow("more than a pipe holds")
            << FakeToolBehaviour::printing(big) << 0 << QString::fromLatin1(big);
        FakeToolBehaviour killed = FakeToolBehaviour::printing("before\n");
        killed.extraShell = "kill -TERM $$";
        QTest::newRow("ended by a signal") << killed << 15 << QStringLiteral("before\n");
        FakeToolBehaviour background = FakeToolBehaviour::printing("early\n");
        background.extraShell = "(sleep 0.4; echo late) &";
        QTest::newRow("background job writes after the exit")
            << background << 0 << QStringLiteral("early\nlate\n");
    }
    void outputAndStatusAreCollected()
    {
        QFETCH(FakeToolBehaviour, behaviour);
        QFETCH(int, status);
        QFETCH(QString, output);
        TestPaths paths;
        const QString tool = FakeTools::write(paths.tool(QStringLiteral("bin/talker")), behaviour);
        const QStringList arguments{QStringLiteral("a b"), QStringLiteral("$HOME"), QString()};

        const ProcessResult result = runNow(tool, arguments);
        QCOMPARE(result.status, status);
        QCOMPARE(result.output, output);
        QCOMPARE(FakeTools::recordedArguments(tool), arguments);
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

    void childInheritsStandardInput()
    {
        TestPaths paths;
        FakeToolBehaviour reader;
        reader.extraShell = "cat";
        const QString tool = FakeTools::write(paths.tool(QStringLiteral("bin/reader")), reader);

        const StandardInputFrom redirected(QDir(paths.root()).filePath(QStringLiteral("input.txt")),
                                           "typed by the user\n");
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
