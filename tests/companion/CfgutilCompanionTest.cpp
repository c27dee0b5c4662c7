#include "restore/command/RestoreDestinations.h"
#include "support/FakeTools.h"
#include "support/RealTools.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"
#include "tools/ToolLocator.h"

#include <QDir>
#include <QProcess>
#include <QTest>

#include <memory>

namespace {

using MaybeTool = std::optional<FakeToolBehaviour>; // none: the tool is missing

struct Finished {
    int status = -1;
    QByteArray standardOutput;
    QByteArray standardError;
};

Finished runCompanion(const QString &companion, const QStringList &arguments,
                      const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(companion, arguments);
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

// The tool ran with the application's environment rules for the tools folder it sits in.
void verifyToolEnvironment(const TestPaths &paths, const QString &tool)
{
    const QProcessEnvironment environment = FakeTools::recordedEnvironment(tool);
    QCOMPARE(environment.value(QStringLiteral("LC_ALL")), QStringLiteral("C"));
    QCOMPARE(environment.value(ToolLocator::librarySearchVariable()).split(u':').first(),
             paths.tool(QStringLiteral("lib")));
}

// What the companion answers `list` with, given irecovery's behaviour; `complaint` is how
// standard error begins.
struct Listing {
    MaybeTool irecovery;
    int status;
    QByteArray standardOutput;
    QByteArray complaint;
};

// A restore command line; an empty target: idevicerestore is missing and never runs.
struct Restore {
    QStringList arguments;
    int status;
    QString restoreTarget; // idevicerestore's last argument
};

} // namespace

class CfgutilCompanionTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TestPaths> m_paths;
    QString m_companion;

    // bin/<name> in the test's tools folder, a fake tool there unless it is to be missing.
    QString fakeTool(const char *name, const MaybeTool &behaviour) const
    {
        const QString path = m_paths->tool(QStringLiteral("bin/") + QLatin1String(name));
        if (behaviour)
            FakeTools::write(path, *behaviour);
        return path;
    }

private slots:
    // The built companion, copied into the tools folder of a test tree: it finds the tools placed
    // beside it there, fake or real, and the application finds it where it looks on Linux. The
    // application hands it the log file and the cache folder; HOME and the XDG variables, from
    // which the companion would work out folders of its own, point at a decoy folder of the tree,
    // so a restore writing there instead is seen (and nothing reaches the real home).
    void init()
    {
        m_paths = std::make_unique<TestPaths>();
        m_companion = m_paths->tool(QStringLiteral("bin/cfgutil"));
        QVERIFY(QFile::copy(QStringLiteral(CORVALIN_CFGUTIL), m_companion));
        m_paths->setConfiguratorTool(m_companion);
        const QString decoy = QDir(m_paths->root()).filePath(QStringLiteral("decoy"));
        qputenv("HOME", decoy.toLocal8Bit());
        qputenv("XDG_DATA_HOME", decoy.toLocal8Bit());
        qputenv("XDG_CONFIG_HOME", decoy.toLocal8Bit());
    }
    void cleanup() { m_paths.reset(); }

    // A watch listed by the real irecovery (a KIS one, with its product and ECID) goes through the
    // companion into the device monitor in VirtualWatchStudioTest, and no watch in the real-tools
    // run below; the fakes stand in for the other answers irecovery may give.
    void listing_data()
    {
        QTest::addColumn<Listing>("listing");
        QTest::newRow("device this irecovery does not know")
            << Listing{FakeToolBehaviour::printing(testData("irecovery-q-unknown-device.txt")),
                       0,
                       R"({"Command":"list","Devices":["0x3F7C1E2D4A6B8"],"Output":{"0x3F7C1E2D4A6B8":)"
                       R"({"ECID":"0x3F7C1E2D4A6B8"}},"Type":"CommandOutput"})"
                       "\n",
                       {}};
        // The application reads both streams as one: a failure must not look like a list.
        QTest::newRow("irecovery missing") << Listing{{}, 1, {}, "cfgutil: irecovery not found at "};
        QTest::newRow("another irecovery error") << Listing{
            FakeToolBehaviour::printingThen({}, "echo 'ERROR: Operation unsupported by driver' >&2", 255),
            1,
            {},
            "cfgutil: irecovery -q failed with status 255: ERROR: Operation unsupported by driver"};
        QTest::newRow("listing without an ECID")
            << Listing{FakeToolBehaviour::printing("PRODUCT: Watch7,5\nECID: none\n"),
                       1,
                       {},
                       "cfgutil: irecovery -q printed no readable ECID"};
    }

    void listing()
    {
        QFETCH(Listing, listing);
        const QString tool = fakeTool("irecovery", listing.irecovery);

        const Finished run = runCompanion(m_companion, {"--format", "JSON", "list"});
        QCOMPARE(run.status, listing.status);
        QCOMPARE(run.standardOutput, listing.standardOutput);
        QVERIFY2(run.standardError.startsWith(listing.complaint) &&
                     (run.standardError.isEmpty() == listing.complaint.isEmpty()),
                 run.standardError.constData());
        if (listing.irecovery) {
            QCOMPARE(FakeTools::recordedArguments(tool), QStringList{QStringLiteral("-q")});
            verifyToolEnvironment(*m_paths, tool);
        }
    }

    void commandLines_data()
    {
        QTest::addColumn<Restore>("restore");
        const QStringList restore{"--ecid", "0xB24F61A9C0D5E", "--progress", "restore"};
        QTest::newRow("latest signed firmware") << Restore{restore, 0, "--latest"};
        QTest::newRow("with an image")
            << Restore{restore + QStringList{"--ipsw", "/images/watch os.ipsw"}, 3, "/images/watch os.ipsw"};
        QTest::newRow("idevicerestore missing") << Restore{restore, 127, {}};
    }

    void commandLines()
    {
        QFETCH(Restore, restore);
        const QString restoreTarget = restore.restoreTarget;
        const MaybeTool restoring = FakeToolBehaviour::printingThen(
            "Progress: 1%\n", "echo 'Waiting for device' >&2", restore.status);
        const QString tool = fakeTool("idevicerestore", restoreTarget.isEmpty() ? std::nullopt : restoring);

        const RestoreDestinations destinations{QDir(m_paths->root()).filePath("logs/restore-now.log"),
                                               QDir(m_paths->root()).filePath("cache")};
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        destinations.handDown(environment);
        const Finished run = runCompanion(m_companion, restore.arguments, environment);
        QCOMPARE(run.status, restore.status);
        QCOMPARE(FakeTools::runCount(tool), restoreTarget.isEmpty() ? 0 : 1);
        if (restoreTarget.isEmpty()) {
            QVERIFY(run.standardError.startsWith("cfgutil: cannot run " + tool.toUtf8()));
            return;
        }

        // Both streams come through untouched: the companion has become idevicerestore.
        QCOMPARE(run.standardOutput, QByteArray("Progress: 1%\n"));
        QCOMPARE(run.standardError, QByteArray("Waiting for device\n"));
        QCOMPARE(
            FakeTools::recordedArguments(tool),
            (QStringList{"--ecid", "0xB24F61A9C0D5E", "--erase", "--plain-progress", "--cache-path",
                         destinations.cacheDirectory, "--logfile=" + destinations.logFile, restoreTarget}));
        verifyToolEnvironment(*m_paths, tool);
    }

    // With the real tools and no watch attached, irecovery finds nothing and the companion lists
    // nothing, which the device monitor reads as a KIS watch it could not read.
    void realToolsWithoutAWatchListNothing()
    {
        if (RealTools::folder().isEmpty())
            QSKIP(RealTools::unavailableMessage());
        QVERIFY(RealTools::installInto(*m_paths));

        const Finished run = runCompanion(m_companion, {"--format", "JSON", "list"});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.standardError, QByteArray());
        QCOMPARE(run.standardOutput,
                 QByteArray(R"({"Command":"list","Devices":[],"Output":{},"Type":"CommandOutput"})"
                            "\n"));
    }
};

QTEST_GUILESS_MAIN(CfgutilCompanionTest)
#include "CfgutilCompanionTest.moc"
