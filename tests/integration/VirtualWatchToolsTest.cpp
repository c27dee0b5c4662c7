// The real irecovery of the Tools folder against the virtual watch: what it reads from the watch
// in each mode, the byte-level shape of its uploads, and the busy claim. idevicerestore's runs
// against the watch are VirtualWatchStudioTest's, through the application.
#include "support/TestFiles.h"
#include "support/TestPaths.h"
#include "support/VirtualWatch.h"

#include <QFile>
#include <QProcess>
#include <QTest>

#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <unistd.h>

Q_DECLARE_METATYPE(VirtualWatch::Mode)
Q_DECLARE_METATYPE(VirtualWatch::Faults)

namespace {

using Mode = VirtualWatch::Mode;

struct ToolRun {
    int exitCode = -1;
    QString output;
};

ToolRun run(const TestPaths &paths, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(paths.tool(QStringLiteral("bin/irecovery")), arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAll())};
}

QByteArray usbView(const TestPaths &paths)
{
    QFile file(paths.usbDevices() + QStringLiteral("/1-9/idProduct"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
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
        QTest::addColumn<QByteArray>("usbProduct");
        QTest::addColumn<QStringList>("lines");

        const QStringList series6{QStringLiteral("PRODUCT: Watch6,1"), QStringLiteral("MODEL: n157sap"),
                                  QStringLiteral("NAME: Apple Watch Series 6 (40mm)"),
                                  QStringLiteral("ECID: 0x00001a2b3c4d5e6f")};
        QTest::newRow("recovery") << Mode::Recovery << QByteArray("1281")
                                  << (series6 + QStringList{QStringLiteral("MODE: Recovery")});
        QTest::newRow("dfu") << Mode::Dfu << QByteArray("1227")
                             << (series6 + QStringList{QStringLiteral("MODE: DFU")});
        QTest::newRow("kis, over the bulk protocol")
            << Mode::Kis << QByteArray("1881")
            << (series6 + QStringList{QStringLiteral("MODE: DFU via Debug USB (KIS)")});
    }

    void irecoveryIdentifiesTheWatch()
    {
        QFETCH(Mode, mode);
        QFETCH(QByteArray, usbProduct);
        QFETCH(QStringList, lines);

        m_watch->attach(mode);
        QCOMPARE(usbView(*m_paths), usbProduct);
        const ToolRun query = run(*m_paths, {QStringLiteral("-q")});
        QCOMPARE(query.exitCode, 0);
        const QStringList output = query.output.split(u'\n');
        for (const QString &line : lines)
            QVERIFY2(output.contains(line), qPrintable(line + QStringLiteral(" in:\n") + query.output));
    }

    void irecoveryFindsTheWatchBusyWhileAnotherProcessHoldsIt()
    {
        m_watch->attach(Mode::Recovery);
        // irecovery's shell keeps its connection, the interface claimed, for as long as it runs.
        QProcess holder;
        holder.start(m_paths->tool(QStringLiteral("bin/irecovery")), {QStringLiteral("-s")});
        QVERIFY(holder.waitForStarted());
        QTRY_VERIFY(interfaceClaimed(*m_watch));

        const ToolRun busy = run(*m_paths, {QStringLiteral("-q")});
        QCOMPARE(busy.output.trimmed(), QStringLiteral("ERROR: Unable to set device interface"));
        QVERIFY(busy.exitCode != 0);
        QVERIFY(m_watch->logged(QStringLiteral("claim busy 0")));

        holder.kill(); // its claim ends with the process, as the kernel ends a usbfs claim
        QVERIFY(holder.waitForFinished(5000));
        QCOMPARE(run(*m_paths, {QStringLiteral("-q")}).exitCode, 0);
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

        const ToolRun upload = run(*m_paths, {QStringLiteral("-f"), file});
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
            const ToolRun query = run(*m_paths, {QStringLiteral("-q")});
            QVERIFY2(query.output.contains("NONC: " + faults.nonceAfterIbss), qPrintable(query.output));
        }
    }
};

QTEST_GUILESS_MAIN(VirtualWatchToolsTest)
#include "VirtualWatchToolsTest.moc"
