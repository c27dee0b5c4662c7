// The real irecovery and idevicerestore of the Tools folder against the virtual watch: what the
// tools read from it, what they send to it, and how it re-enumerates in between.
#include "support/RestoreImage.h"
#include "support/SigningServer.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"
#include "support/VirtualWatch.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <unistd.h>

Q_DECLARE_METATYPE(VirtualWatch::Mode)
Q_DECLARE_METATYPE(VirtualWatch::Identity)
Q_DECLARE_METATYPE(SigningServer::Answer)
Q_DECLARE_METATYPE(VirtualWatch::Faults)

namespace {

using Mode = VirtualWatch::Mode;

struct ToolRun {
    int exitCode = -1;
    QString output;
};

// Runs a tool of the test's Tools folder to its end (or, given `interruptAt`, until it prints
// that line, then interrupts it as the stop button does). The event loop keeps turning meanwhile,
// for the signing-server stand-in in this thread.
ToolRun run(const TestPaths &paths, const QString &tool, const QStringList &arguments,
            const QString &interruptAt = {})
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(paths.tool(QStringLiteral("bin/") + tool), arguments);
    process.waitForStarted();
    ToolRun result;
    bool interrupted = false;
    const QDeadlineTimer deadline(60000);
    while (process.state() != QProcess::NotRunning && !deadline.hasExpired()) {
        QTest::qWait(20);
        result.output += QString::fromUtf8(process.readAll());
        if (!interrupted && !interruptAt.isEmpty() && result.output.contains(interruptAt)) {
            ::kill(static_cast<pid_t>(process.processId()), SIGINT);
            interrupted = true;
        }
    }
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
    }
    result.output += QString::fromUtf8(process.readAll());
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return result;
}

QByteArray usbView(const TestPaths &paths)
{
    QFile file(paths.usbDevices() + QStringLiteral("/1-9/idProduct"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}

// The watch's uploads, mode changes and boot commands, the uploads without their sizes (which
// follow the signing answer's ticket).
QStringList transfers(const VirtualWatch &watch)
{
    QStringList lines;
    for (const QString &line : watch.log()) {
        if (line.startsWith(QStringLiteral("upload")))
            lines << line.section(u' ', 0, 1) + u' ' + line.section(u' ', 3);
        else if (line.startsWith(QStringLiteral("arrive")) || line == QStringLiteral("leave") ||
                 line == QStringLiteral("reset") || line == QStringLiteral("command go") ||
                 line == QStringLiteral("command bootx"))
            lines << line;
    }
    return lines;
}

// Whether some open handle has claimed interface 0 of the watch's first arrival.
bool interfaceClaimed(const VirtualWatch &watch)
{
    const int fd = ::open(QFile::encodeName(watch.folder() + QStringLiteral("/claim-1-0.lock")).constData(),
                          O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    const bool claimed = ::flock(fd, LOCK_EX | LOCK_NB) != 0;
    ::close(fd);
    return claimed;
}

const QString waitingLine = QStringLiteral("Waiting for device to enter restore mode...");

} // namespace

class VirtualWatchToolsTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TestPaths> m_paths;
    std::unique_ptr<VirtualWatch> m_watch;

private slots:
    void initTestCase()
    {
        if (!VirtualWatch::available())
            QSKIP(VirtualWatch::unavailableMessage());
    }

    void init()
    {
        m_paths = std::make_unique<TestPaths>();
        m_watch = std::make_unique<VirtualWatch>(*m_paths);
        QVERIFY(m_watch->installTools());
    }

    void cleanup()
    {
        m_watch.reset();
        m_paths.reset();
    }

    void irecoveryIdentifiesTheWatch_data()
    {
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<VirtualWatch::Identity>("identity");
        QTest::addColumn<QByteArray>("usbProduct");
        QTest::addColumn<QStringList>("lines");

        const QStringList series6{QStringLiteral("PRODUCT: Watch6,1"), QStringLiteral("MODEL: n157sap"),
                                  QStringLiteral("NAME: Apple Watch Series 6 (40mm)"),
                                  QStringLiteral("ECID: 0x00001a2b3c4d5e6f")};
        QTest::newRow("recovery") << Mode::Recovery << VirtualWatch::Identity() << QByteArray("1281")
                                  << (series6 + QStringList{QStringLiteral("MODE: Recovery")});
        QTest::newRow("dfu") << Mode::Dfu << VirtualWatch::Identity() << QByteArray("1227")
                             << (series6 + QStringList{QStringLiteral("MODE: DFU")});
        QTest::newRow("kis, over the bulk protocol")
            << Mode::Kis << VirtualWatch::Identity() << QByteArray("1881")
            << (series6 + QStringList{QStringLiteral("MODE: DFU via Debug USB (KIS)")});
        VirtualWatch::Identity ultra4{"", 0x8320, 0x02, 0xABCDEF0123, {}, {}};
        QTest::newRow("chip 0x8320 board 0x02, from the tools' patched table")
            << Mode::Recovery << ultra4 << QByteArray("1281")
            << QStringList{QStringLiteral("PRODUCT: Watch8,1"), QStringLiteral("NAME: Apple Watch Ultra 4"),
                           QStringLiteral("CPID: 0x8320"), QStringLiteral("ECID: 0x000000abcdef0123")};
        VirtualWatch::Identity unknown{"", 0x8999, 0x04, 0x42, {}, {}};
        QTest::newRow("a chip the table lacks: identity but no name")
            << Mode::Dfu << unknown << QByteArray("1227")
            << QStringList{QStringLiteral("CPID: 0x8999"), QStringLiteral("BDID: 0x04"),
                           QStringLiteral("MODE: DFU")};
    }

    void irecoveryIdentifiesTheWatch()
    {
        QFETCH(Mode, mode);
        QFETCH(VirtualWatch::Identity, identity);
        QFETCH(QByteArray, usbProduct);
        QFETCH(QStringList, lines);

        m_watch->attach(mode, identity);
        QCOMPARE(usbView(*m_paths), usbProduct);
        const ToolRun query = run(*m_paths, QStringLiteral("irecovery"), {QStringLiteral("-q")});
        QCOMPARE(query.exitCode, 0);
        const QStringList output = query.output.split(u'\n');
        for (const QString &line : lines)
            QVERIFY2(output.contains(line), qPrintable(line + QStringLiteral(" in:\n") + query.output));
        QCOMPARE(query.output.contains(QStringLiteral("PRODUCT:")), identity.chipId != 0x8999);
    }

    void irecoveryFindsTheWatchBusyWhileAnotherProcessHoldsIt()
    {
        m_watch->attach(Mode::Recovery);
        // irecovery's shell keeps its connection, the interface claimed, for as long as it runs.
        QProcess holder;
        holder.start(m_paths->tool(QStringLiteral("bin/irecovery")), {QStringLiteral("-s")});
        QVERIFY(holder.waitForStarted());
        QTRY_VERIFY(interfaceClaimed(*m_watch));

        const ToolRun busy = run(*m_paths, QStringLiteral("irecovery"), {QStringLiteral("-q")});
        QCOMPARE(busy.output.trimmed(), QStringLiteral("ERROR: Unable to set device interface"));
        QVERIFY(busy.exitCode != 0);
        QVERIFY(m_watch->logged(QStringLiteral("claim busy 0")));

        holder.kill(); // its claim ends with the process, as the kernel ends a usbfs claim
        QVERIFY(holder.waitForFinished(5000));
        QCOMPARE(run(*m_paths, QStringLiteral("irecovery"), {QStringLiteral("-q")}).exitCode, 0);
    }

    // irecovery -f sends a file as idevicerestore sends a component; the watch counts the bytes and,
    // for DFU and KIS, boots it and comes back in recovery mode.
    void irecoveryUploadsAFile_data()
    {
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<int>("bytes");
        QTest::addColumn<VirtualWatch::Faults>("faults");
        QTest::addColumn<QStringList>("watchSaw");
        QTest::addColumn<Mode>("modeAfter");

        const QByteArray newNonce = QByteArray(32, '\x5A').toHex();
        QTest::newRow("recovery, a short last packet")
            << Mode::Recovery << 0x8001 << VirtualWatch::Faults() << QStringList{"upload recovery 32769 -"}
            << Mode::Recovery;
        QTest::newRow("recovery, whole packets and a zero-length one")
            << Mode::Recovery << 0x10000 << VirtualWatch::Faults() << QStringList{"upload recovery 65536 -"}
            << Mode::Recovery;
        QTest::newRow("dfu, the suffix in the last block, a new nonce")
            << Mode::Dfu << 0x1801 << VirtualWatch::Faults{.nonceAfterIbss = newNonce}
            << QStringList{"upload dfu 6145 -", "reset", "leave", "arrive recovery ibss"} << Mode::Recovery;
        QTest::newRow("dfu, the suffix in a block of its own")
            << Mode::Dfu << 0x1000 << VirtualWatch::Faults()
            << QStringList{"upload dfu 4096 -", "reset", "leave", "arrive recovery ibss"} << Mode::Recovery;
        QTest::newRow("dfu, no return after the reset")
            << Mode::Dfu << 0x900 << VirtualWatch::Faults{.neverComeBack = true}
            << QStringList{"upload dfu 2304 -", "reset", "fault no-return", "leave"} << Mode::None;
        QTest::newRow("kis, chunks of 0x4000")
            << Mode::Kis << 0x4001 << VirtualWatch::Faults()
            << QStringList{"upload kis 16385 -", "leave", "arrive recovery ibss"} << Mode::Recovery;
    }

    void irecoveryUploadsAFile()
    {
        QFETCH(Mode, mode);
        QFETCH(int, bytes);
        QFETCH(VirtualWatch::Faults, faults);
        QFETCH(QStringList, watchSaw);
        QFETCH(Mode, modeAfter);

        m_watch->attach(mode);
        m_watch->setFaults(faults);
        const QString file = m_paths->root() + QStringLiteral("/payload.bin");
        QByteArray payload(bytes, '\0');
        for (int i = 0; i < bytes; ++i)
            payload[i] = char(i * 7);
        QVERIFY(writeFile(file, payload));

        const ToolRun upload = run(*m_paths, QStringLiteral("irecovery"), {QStringLiteral("-f"), file});
        QCOMPARE(upload.exitCode, 0);
        QTRY_COMPARE(m_watch->mode(), modeAfter);
        QStringList seen = m_watch->log();
        for (const QString &line : watchSaw) {
            const qsizetype at = seen.indexOf(line);
            QVERIFY2(at >= 0,
                     qPrintable(line + QStringLiteral(" in order in:\n") + m_watch->log().join(u'\n')));
            seen = seen.mid(at + 1);
        }
        QVERIFY(!m_watch->logged(QStringLiteral("dfu-crc-mismatch")));
        if (!faults.nonceAfterIbss.isEmpty()) {
            const ToolRun query = run(*m_paths, QStringLiteral("irecovery"), {QStringLiteral("-q")});
            QVERIFY2(query.output.contains("NONC: " + faults.nonceAfterIbss), qPrintable(query.output));
        }
    }

    void idevicerestoreDrivesTheWatch_data()
    {
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<SigningServer::Answer>("answer");
        QTest::addColumn<QStringList>("toolSays");
        QTest::addColumn<QStringList>("watchSaw");

        const QStringList identified{QStringLiteral("Identified device as n157sap, Watch6,1"),
                                     QStringLiteral("ECID: 28772997619311")};
        QTest::newRow("recovery, signing refused")
            << Mode::Recovery << SigningServer::Answer::refusal
            << (identified + QStringList{QStringLiteral("Found device in Recovery mode"),
                                         QStringLiteral("Getting ApNonce in Recovery mode... a1 b2 c3 d4")})
            << QStringList{QStringLiteral("arrive recovery iboot")};
        const QStringList fromIbec{QStringLiteral("upload recovery ibec"),
                                   QStringLiteral("command go"),
                                   QStringLiteral("leave"),
                                   QStringLiteral("arrive recovery ibec"),
                                   QStringLiteral("upload recovery rlgo"),
                                   QStringLiteral("upload recovery rdsk"),
                                   QStringLiteral("upload recovery rdtr"),
                                   QStringLiteral("upload recovery rkrn"),
                                   QStringLiteral("command bootx"),
                                   QStringLiteral("leave")};
        QTest::newRow("recovery, to the restore-mode wait")
            << Mode::Recovery << SigningServer::Answer::tickets
            << (identified + QStringList{QStringLiteral("Sending iBEC ("),
                                         QStringLiteral("iBoot boot-stage=2"), waitingLine})
            << (QStringList{QStringLiteral("arrive recovery iboot")} + fromIbec);
        QTest::newRow("dfu, iBSS first")
            << Mode::Dfu << SigningServer::Answer::tickets
            << (identified + QStringList{QStringLiteral("Found device in DFU mode"),
                                         QStringLiteral("Sending iBSS ("), waitingLine})
            << (QStringList{QStringLiteral("arrive dfu iboot"), QStringLiteral("upload dfu ibss"),
                            QStringLiteral("reset"), QStringLiteral("leave"),
                            QStringLiteral("arrive recovery ibss")} +
                fromIbec);
        // libirecovery sees a KIS watch in DFU mode and sends iBSS over the KIS bulk protocol.
        QTest::newRow("kis, iBSS over the bulk protocol")
            << Mode::Kis << SigningServer::Answer::tickets
            << (identified + QStringList{QStringLiteral("Found device in DFU mode"),
                                         QStringLiteral("Sending iBSS ("), waitingLine})
            << (QStringList{QStringLiteral("arrive kis iboot"), QStringLiteral("upload kis ibss"),
                            QStringLiteral("leave"), QStringLiteral("arrive recovery ibss")} +
                fromIbec);
    }

    void idevicerestoreDrivesTheWatch()
    {
        QFETCH(Mode, mode);
        QFETCH(SigningServer::Answer, answer);
        QFETCH(QStringList, toolSays);
        QFETCH(QStringList, watchSaw);

        const QString image = m_paths->downloads() + QStringLiteral("/watchOS.ipsw");
        QVERIFY(RestoreImage::write(image, RestoreImage::series6()));
        SigningServer signing(answer);
        m_watch->attach(mode);

        // The application's arguments; the restore-mode wait would last five minutes, so the run
        // is interrupted once the tool says it waits.
        const ToolRun restore =
            run(*m_paths, QStringLiteral("idevicerestore"),
                {QStringLiteral("--erase"), QStringLiteral("--plain-progress"),
                 QStringLiteral("--cache-path"), m_paths->root() + QStringLiteral("/cache"), image},
                waitingLine);
        QVERIFY(restore.exitCode != 0);
        const QStringList output = restore.output.split(u'\n');
        for (const QString &line : toolSays) {
            const bool found = std::any_of(output.begin(), output.end(),
                                           [&](const QString &said) { return said.startsWith(line); });
            QVERIFY2(found, qPrintable(line + QStringLiteral(" in:\n") + restore.output));
        }
        QCOMPARE(transfers(*m_watch), watchSaw);

        QVERIFY(!signing.requests().isEmpty());
        const SigningServer::Request &request = signing.requests().first();
        QCOMPARE(request.ecid, quint64(0x1A2B3C4D5E6F));
        QCOMPARE(request.chipId, quint64(0x8301));
        QCOMPARE(request.boardId, quint64(0x08));
        QCOMPARE(request.apNonce.toHex(),
                 QByteArray("a1b2c3d4e5f60718293a4b5c6d7e8f90a1b2c3d4e5f60718293a4b5c6d7e8f90"));
        if (answer == SigningServer::Answer::tickets) {
            QCOMPARE(m_watch->mode(), Mode::None); // it left for restore mode, which USB cannot show
            QCOMPARE(usbView(*m_paths), QByteArray());
        }
    }

    void idevicerestoreMeetsAFault_data()
    {
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<VirtualWatch::Faults>("faults");
        QTest::addColumn<QString>("interruptAt");
        QTest::addColumn<QString>("toolSays");
        QTest::addColumn<QString>("watchSaw");

        QTest::newRow("gone after the logo")
            << Mode::Recovery << VirtualWatch::Faults{.vanishAfterUpload = 2} << QString()
            << QStringLiteral("Unable to send RestoreRamDisk to device.") << QStringLiteral("fault vanish");
        QTest::newRow("no return after iBSS")
            << Mode::Dfu << VirtualWatch::Faults{.neverComeBack = true} << QStringLiteral("Sending iBSS (")
            << QStringLiteral("Sending iBSS (") << QStringLiteral("fault no-return");
    }

    void idevicerestoreMeetsAFault()
    {
        QFETCH(Mode, mode);
        QFETCH(VirtualWatch::Faults, faults);
        QFETCH(QString, interruptAt);
        QFETCH(QString, toolSays);
        QFETCH(QString, watchSaw);

        const QString image = m_paths->downloads() + QStringLiteral("/watchOS.ipsw");
        QVERIFY(RestoreImage::write(image, RestoreImage::series6()));
        const SigningServer signing;
        m_watch->attach(mode);
        m_watch->setFaults(faults);

        const ToolRun restore =
            run(*m_paths, QStringLiteral("idevicerestore"), {QStringLiteral("--erase"), image}, interruptAt);
        QVERIFY(restore.exitCode != 0);
        QVERIFY2(restore.output.contains(toolSays), qPrintable(restore.output.right(600)));
        QVERIFY(m_watch->logged(watchSaw));
        QCOMPARE(m_watch->mode(), Mode::None);
        QCOMPARE(usbView(*m_paths), QByteArray());
    }

    // A stalled upload holds the tool in its transfer until the watch answers again.
    void idevicerestoreWaitsOutAStalledUpload()
    {
        const QString image = m_paths->downloads() + QStringLiteral("/watchOS.ipsw");
        QVERIFY(RestoreImage::write(image, RestoreImage::series6()));
        const SigningServer signing;
        m_watch->attach(Mode::Recovery);
        m_watch->setFaults({.stallUpload = 1});

        QProcess tool;
        tool.start(m_paths->tool(QStringLiteral("bin/idevicerestore")), {QStringLiteral("--erase"), image});
        QTRY_VERIFY_WITH_TIMEOUT(m_watch->logged(QStringLiteral("fault stall")), 10000);
        QTest::qWait(300);
        QVERIFY(!m_watch->logged(QStringLiteral("upload")));
        m_watch->setFaults({});
        QTRY_VERIFY_WITH_TIMEOUT(m_watch->logged(QStringLiteral("command bootx")), 15000);
        ::kill(static_cast<pid_t>(tool.processId()), SIGINT);
        QVERIFY(tool.waitForFinished(5000));
    }
};

QTEST_GUILESS_MAIN(VirtualWatchToolsTest)
#include "VirtualWatchToolsTest.moc"
