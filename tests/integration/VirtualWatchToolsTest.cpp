// The real irecovery of the Tools folder against the virtual watch: the byte-level edges of its
// uploads in each mode, which the restores of VirtualWatchStudioTest (through the application:
// detection, the busy claim, the components, a watch that does not come back, a new nonce) do not
// reach with their small components.
#include "support/TestFiles.h"
#include "support/TestPaths.h"
#include "support/VirtualWatch.h"

#include <QProcess>
#include <QTest>

#include <memory>

Q_DECLARE_METATYPE(VirtualWatch::Mode)

namespace {

using Mode = VirtualWatch::Mode;

// irecovery's exit status; -1 when it did not end normally within a minute.
int runIrecovery(const TestPaths &paths, const QStringList &arguments)
{
    QProcess process;
    process.start(paths.tool(QStringLiteral("bin/irecovery")), arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return -1;
    return process.exitCode();
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

    // irecovery -f sends a file as idevicerestore sends a component; the watch counts the bytes and,
    // for DFU and KIS, boots it and comes back in recovery mode. (The short last packet and the
    // suffix inside the last block are what the restores' 586-byte components already send.)
    void irecoveryUploadsAFile_data()
    {
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<int>("bytes");
        QTest::addColumn<QStringList>("watchSaw");

        QTest::newRow("recovery, whole packets and a zero-length one")
            << Mode::Recovery << 0x10000 << QStringList{"upload recovery 65536 -"};
        QTest::newRow("dfu, the suffix in a block of its own")
            << Mode::Dfu << 0x1000
            << QStringList{"upload dfu 4096 -", "reset", "leave", "arrive recovery ibss"};
        QTest::newRow("kis, chunks of 0x4000")
            << Mode::Kis << 0x4001 << QStringList{"upload kis 16385 -", "leave", "arrive recovery ibss"};
    }

    void irecoveryUploadsAFile()
    {
        QFETCH(Mode, mode);
        QFETCH(int, bytes);
        QFETCH(QStringList, watchSaw);

        m_watch->attach(mode);
        const QString file = m_paths->root() + QStringLiteral("/payload.bin");
        QByteArray payload(bytes, '\0');
        for (int i = 0; i < bytes; ++i)
            payload[i] = char(i * 7);
        QVERIFY(writeFile(file, payload));

        QCOMPARE(runIrecovery(*m_paths, {QStringLiteral("-f"), file}), 0);
        QTRY_COMPARE(m_watch->mode(), Mode::Recovery);
        QStringList seen = m_watch->log();
        for (const QString &line : watchSaw) {
            const qsizetype at = seen.indexOf(line);
            QVERIFY2(at >= 0,
                     qPrintable(line + QStringLiteral(" in order in:\n") + m_watch->log().join(u'\n')));
            seen = seen.mid(at + 1);
        }
        QVERIFY(!m_watch->logged(QStringLiteral("dfu-crc-mismatch")));
    }
};

QTEST_GUILESS_MAIN(VirtualWatchToolsTest)
#include "VirtualWatchToolsTest.moc"
