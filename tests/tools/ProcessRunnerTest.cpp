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
    void pathsThatStartNothing()
    {
        const struct {
            const char *path;    // inside the tools folder
            QByteArray contents; // empty: nothing written there
            bool executable;
            bool notFound;
        } cases[] = {{"bin/absent", {}, false, true},
                     {"bin/plain", "#!/bin/sh\ntouch \"$0.ran\"\n", false, true},
                     {"bin/broken",
                      "\x7f"
                      "ELF not really a program",
                      true, false}};
        for (const auto &c : cases) {
            TestPaths paths;
            const QString tool = paths.tool(QString::fromLatin1(c.path));
            if (!c.contents.isEmpty())
                QVERIFY(writeFile(tool, c.contents));
            if (c.executable)
                QVERIFY(QFile::setPermissions(tool, QFile::permissions(tool) | QFileDevice::ExeOwner));

            const ProcessResult result = runNow(tool);
            QCOMPARE(result.status, -1);
            QVERIFY2(!result.output.isEmpty() &&
                         (result.output == QStringLiteral("Инструмент не найден: ") + tool) == c.notFound,
                     qPrintable(result.output));
            QVERIFY(!QFile::exists(tool + QStringLiteral(".ran")));
        }
    }

    // Both streams in the order written, decoded as UTF-8, read until every writer has closed
    // the pipe (a child's own background job counts), with the status or the ending signal; the
    // child reads the application's standard input.
    void outputAndStatusAreCollected()
    {
        const QByteArray big =
            QByteArray(1023, 'x').append('\n').repeated(6 * 1024); // more than a pipe holds
        const struct {
            FakeToolBehaviour behaviour;
            int status;
            QString output;
        } cases[] = {
            {FakeToolBehaviour::printingThen("first\nsecond", "printf 'to stderr\\n' >&2", 3), 3,
             "first\nsecondto stderr\n"},
            {FakeToolBehaviour::printingThen("ok \xff end\r\n"), 0, QStringLiteral("ok \uFFFD end\r\n")},
            {FakeToolBehaviour::printingThen(big), 0, QString::fromLatin1(big)},
            {FakeToolBehaviour::printingThen("before\n", "kill -TERM $$"), 15, "before\n"},
            {FakeToolBehaviour::printingThen("early\n", "(sleep 0.4; echo late) &"), 0, "early\nlate\n"},
            {FakeToolBehaviour::printingThen({}, "cat"), 0, "typed\n"},
        };
        for (const auto &c : cases) {
            TestPaths paths;
            const QString tool = FakeTools::write(paths.tool(QStringLiteral("bin/talker")), c.behaviour);
            const QStringList arguments{QStringLiteral("a b"), QStringLiteral("$HOME"), QString()};

            // What the application was given as its input, not a pipe nobody writes.
            const StandardInputFrom input(QDir(paths.root()).filePath(QStringLiteral("input.txt")),
                                          "typed\n");
            const ProcessResult result = runNow(tool, arguments);
            QCOMPARE(result.output, c.output);
            QCOMPARE(result.status, c.status);
            QCOMPARE(FakeTools::recordedArguments(tool), arguments);
        }
    }
};

QTEST_GUILESS_MAIN(ProcessRunnerTest)
#include "ProcessRunnerTest.moc"
