#include "tools/ProcessRunner.h"
#include "support/FakeTools.h"
#include "support/StandardInputFrom.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"

#include <QCoroTask>
#include <QDir>
#include <QFile>
#include <QTest>

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
    // the pipe (a child's own background job counts), with the status or the ending signal; the
    // child reads the application's standard input.
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
        FakeToolBehaviour reader;
        reader.extraShell = "cat";
        QTest::newRow("reads the application's standard input") << reader << 0 << QStringLiteral("typed\n");
    }
    void outputAndStatusAreCollected()
    {
        QFETCH(FakeToolBehaviour, behaviour);
        QFETCH(int, status);
        QFETCH(QString, output);
        TestPaths paths;
        const QString tool = FakeTools::write(paths.tool(QStringLiteral("bin/talker")), behaviour);
        const QStringList arguments{QStringLiteral("a b"), QStringLiteral("$HOME"), QString()};

        // What the application was given as its input, not a pipe nobody writes.
        const StandardInputFrom input(QDir(paths.root()).filePath(QStringLiteral("input.txt")), "typed\n");
        const ProcessResult result = runNow(tool, arguments);
        QCOMPARE(result.status, status);
        QCOMPARE(result.output, output);
        QCOMPARE(FakeTools::recordedArguments(tool), arguments);
    }
};

QTEST_GUILESS_MAIN(ProcessRunnerTest)
#include "ProcessRunnerTest.moc"
