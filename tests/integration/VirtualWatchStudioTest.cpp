// The whole application against the real irecovery and idevicerestore of the Tools folder, with a
// virtual watch on the bus and a stand-in for Apple's signing server: detection, the restore up to
// the watch's restore mode, the stop button, and the faults a technician meets.
// Each run's real lines are compared whole; what the tools print is taken as it comes.
#include "integration/VirtualWatchStudio.h"

#include "tools/ToolLocator.h"
#include "ui/screens/RestoreConfirmationSheet.h"
#include "ui/screens/RestoreView.h"

#include <QFile>
#include <QLineEdit>
#include <QRegularExpression>
#include <QTest>

namespace {

using Mode = VirtualWatch::Mode;

const QString waiting = QLatin1String(VirtualWatchStudio::waitingLine);
const QString failedLine = QStringLiteral("Восстановление завершилось с ошибкой 1.");
const QString stopLine = QStringLiteral("Пользователь запросил остановку процесса.");
const QString recoveryTransport = QStringLiteral("Транспорт: libimobiledevice Recovery/DFU.");
const QByteArray nonce =
    "a1b2c3d4e5f60718293a4b5c6d7e8f90a1b2c3d4e5f60718293a4b5c6d7e8f90"; // the watch's own

// The first line of `expected` that `lines` lacks, whole and in that order; empty when none is missing.
QString firstMissing(const QStringList &lines, const QStringList &expected)
{
    qsizetype at = 0;
    for (const QString &line : expected) {
        at = lines.indexOf(line, at);
        if (at < 0)
            return line;
        ++at;
    }
    return {};
}

struct Detection {
    Mode mode;
    VirtualWatch::Identity identity;
    QStringList published; // product type, model, name, mode, ECID; empty: none
    QString hint;
    QString selected; // the selected firmware's product type
};

struct Run {
    Mode mode;
    QString transport;
    QStringList toolLines; // in this order
    QStringList watchLog;  // what the watch saw, in this order
};

struct Fault {
    SigningServer::Answer answer;
    int vanishAfterUpload;
    QStringList lastLines;
    QStringList uploads; // what the watch received
};

} // namespace

Q_DECLARE_METATYPE(Detection)
Q_DECLARE_METATYPE(Run)
Q_DECLARE_METATYPE(Fault)

class VirtualWatchStudioTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (!VirtualWatch::available())
            QSKIP(VirtualWatch::unavailableMessage());
    }

    // What the monitor publishes from the real irecovery's (or the companion's) answer.
    void detection_data()
    {
        QTest::addColumn<Detection>("detection");
        const QStringList series6{"Watch6,1", "n157sap", "Apple Watch Series 6 (40mm)"};
        const QString ready = QStringLiteral("Recovery/DFU готов к восстановлению");
        const QString ecid = QStringLiteral("0x00001a2b3c4d5e6f");
        QTest::newRow("Recovery") << Detection{
            Mode::Recovery, {}, series6 + QStringList{"Recovery", ecid}, ready, "Watch6,1"};
        QTest::newRow("DFU") << Detection{
            Mode::Dfu, {}, series6 + QStringList{"DFU", ecid}, ready, "Watch6,1"};
        QTest::newRow("KIS, through the companion")
            << Detection{Mode::Kis,
                         {},
                         series6 + QStringList{"DFU via Debug USB (KIS)", "0x1A2B3C4D5E6F"},
                         QStringLiteral("KIS/DFU готов к восстановлению"),
                         "Watch6,1"};
        // Newer than upstream's table: named by the Tools folder's own patch.
        QTest::newRow("Ultra 4") << Detection{Mode::Recovery,
                                              {.chipId = 0x8320, .boardId = 0x02},
                                              {"Watch8,1", "n240ap", "Apple Watch Ultra 4", "Recovery", ecid},
                                              ready,
                                              "Watch8,1"};
        // irecovery names no product for a chip and board missing from its table.
        QTest::newRow("model the tools do not know")
            << Detection{Mode::Recovery,
                         {.chipId = 0x8999, .boardId = 0x3e},
                         {},
                         QStringLiteral("Подключённое Recovery/DFU-устройство не является Apple Watch"),
                         "Watch3,1"};
    }

    void detection()
    {
        QFETCH(Detection, detection);
        VirtualWatchStudio studio;
        studio.attach(detection.mode, detection.identity);

        const auto &watch = studio.monitor()->connectedWatch();
        const QStringList found =
            watch ? QStringList{watch->productType, watch->model, watch->name, watch->mode, watch->ecid}
                  : QStringList();
        QCOMPARE(found, detection.published);
        QCOMPARE(studio.monitor()->connectionHint(), detection.hint);
        QVERIFY(studio.model()->selectedFirmware());
        QCOMPARE(studio.model()->selectedFirmware()->productType, detection.selected);
    }

    // A restore as far as a simulation goes: the real tool sends everything, the watch leaves for
    // restore mode, and the stop button ends the wait for it. The waiting line is in the log while
    // the tool still waits, before anything is stopped. The Recovery run goes through the window:
    // the typed confirmation starts it and the restore screen's stop button ends it.
    void restoreUpToRestoreMode_data()
    {
        QTest::addColumn<Run>("run");
        const QStringList fromIbec{"Sending iBEC (586 bytes)...",
                                   "iBoot boot-stage=2",
                                   "Sending RestoreLogo (600 bytes)...",
                                   "Sending RestoreRamDisk (606 bytes)...",
                                   "Sending RestoreDeviceTree (612 bytes)...",
                                   "Sending RestoreKernelCache (614 bytes)...",
                                   waiting};
        const QStringList watchFromIbec{"upload recovery 586 ibec", "command go",    "arrive recovery ibec",
                                        "upload recovery 614 rkrn", "command bootx", "leave"};
        const QStringList fromIbss{"Found device in DFU mode", "Identified device as n157sap, Watch6,1",
                                   "Received SHSH blobs", "Sending iBSS (586 bytes)..."};
        QTest::newRow("Recovery") << Run{Mode::Recovery, recoveryTransport,
                                         QStringList{"Found device in Recovery mode", "ECID: 28772997619311",
                                                     "Identified device as n157sap, Watch6,1",
                                                     "Trying to fetch new SHSH blob", "Received SHSH blobs"} +
                                             fromIbec,
                                         QStringList{"arrive recovery iboot"} + watchFromIbec};
        QTest::newRow("DFU") << Run{
            Mode::Dfu, recoveryTransport, fromIbss + fromIbec,
            QStringList{"arrive dfu iboot", "upload dfu 586 ibss", "reset", "arrive recovery ibss"} +
                watchFromIbec};
        // The companion hands the watch to idevicerestore by its ECID; the watch starts iBSS as in DFU.
        QTest::newRow("KIS, through the companion")
            << Run{Mode::Kis, QStringLiteral("Транспорт: Apple Configurator KIS, ECID 0x1A2B3C4D5E6F."),
                   fromIbss + fromIbec,
                   QStringList{"arrive kis iboot", "kis device-info", "upload kis 586 ibss", "leave",
                               "arrive recovery ibss"} +
                       watchFromIbec};
    }

    void restoreUpToRestoreMode()
    {
        QFETCH(Run, run);
        VirtualWatchStudio studio;
        studio.attach(run.mode);
        studio.chooseSyntheticImage();
        const bool throughTheWindow = run.mode == Mode::Recovery;
        RestoreView restoreView(studio.model(), studio.monitor(), studio.restore());
        RestoreConfirmationSheet sheet(studio.model(), studio.monitor(), studio.restore());
        if (throughTheWindow) {
            sheet.show();
            auto *phrase = sheet.findChild<QLineEdit *>(QStringLiteral("confirmationPhrase"));
            QVERIFY(phrase);
            for (const QChar character : QStringLiteral("ПРОШИТЬ"))
                QTest::sendKeyEvent(QTest::Click, phrase, Qt::Key_unknown, QString(character),
                                    Qt::NoModifier);
            QTest::mouseClick(sheet.findChild<QWidget *>(QStringLiteral("beginRestoreButton")),
                              Qt::LeftButton);
            // The confirmation checks the image first; the restore runs once it is launched.
            QTRY_VERIFY_WITH_TIMEOUT(studio.restore()->isRestoring() || studio.restore()->lastError(), 30000);
        } else {
            studio.startRestore();
        }
        QTRY_VERIFY_WITH_TIMEOUT(studio.logHas(waiting) || !studio.restore()->isRestoring(), 30000);
        // Nothing has been stopped or killed yet: the tool wrote the line as it began to wait.
        QVERIFY2(studio.restore()->isRestoring(), qPrintable(studio.restore()->logText()));
        QVERIFY(!studio.logHas(stopLine));

        const QStringList expected =
            QStringList{"Совместимость подтверждена: Watch6,1.",
                        QStringLiteral("Запуск восстановления. Журнал: ") + studio.announcedLogFile(),
                        run.transport} +
            run.toolLines;
        QString missing = firstMissing(studio.logLines(), expected);
        QVERIFY2(missing.isEmpty(), qPrintable(missing + u'\n' + studio.restore()->logText()));
        missing = firstMissing(studio.watch.log(), run.watchLog);
        QVERIFY2(missing.isEmpty(), qPrintable(missing + u'\n' + studio.watch.log().join(u'\n')));

        QCOMPARE(studio.signing.requests().size(), 1);
        const SigningServer::Request &request = studio.signing.requests().constFirst();
        QCOMPARE(request.ecid, 0x1A2B3C4D5E6Fu);
        QCOMPARE(request.apNonce.toHex(), nonce);
        QCOMPARE(request.versionInfo, QByteArray("libauthinstall-1104.0.9")); // as current upstream asks

        // The tool's own log file is the one announced, in the application's logs folder.
        QCOMPARE(QFileInfo(studio.announcedLogFile()).path(), ToolLocator::logsDirectory());
        QFile toolLog(studio.announcedLogFile());
        QVERIFY(toolLog.open(QIODevice::ReadOnly));
        QVERIFY(toolLog.readAll().contains(waiting.toUtf8()));

        if (throughTheWindow) {
            restoreView.show();
            auto *stop = restoreView.findChild<QWidget *>(QStringLiteral("stopRestoreButton"));
            QVERIFY(stop && stop->isVisible());
            QTest::mouseClick(stop, Qt::LeftButton);
            QTRY_VERIFY_WITH_TIMEOUT(!studio.restore()->isRestoring(), 15000);
        } else {
            QVERIFY(studio.stop());
        }
        QCOMPARE(studio.logLines().mid(studio.logLines().size() - 4),
                 (QStringList{stopLine, "Device failed to enter restore mode.",
                              "Make sure that usbmuxd is running.", failedLine}));
        QCOMPARE(studio.restore()->lastError(), std::optional(failedLine));
    }

    // Faults a technician meets on the way; the tool ends by itself with its own last words.
    void faults_data()
    {
        QTest::addColumn<Fault>("fault");
        // libtatsu keeps the server's reason to itself unless debugging is on.
        QTest::newRow("signing server refuses") << Fault{
            SigningServer::Answer::refusal,
            0,
            {"ERROR: Unable to send TSS request", "Unable to get SHSH blobs for this device", failedLine},
            {}};
        QTest::newRow("watch vanishes after the logo")
            << Fault{SigningServer::Answer::tickets,
                     2,
                     {"Unable to send RestoreRamDisk component: Invalid input",
                      "Unable to send RestoreRamDisk to device.", "Unable to send Ramdisk",
                      "Unable to place device into restore mode", failedLine},
                     {"upload recovery 586 ibec", "upload recovery 600 rlgo"}};
    }

    void faults()
    {
        QFETCH(Fault, fault);
        VirtualWatchStudio studio;
        studio.signing.setAnswer(fault.answer);
        studio.attach(Mode::Recovery);
        studio.watch.setFaults({.vanishAfterUpload = fault.vanishAfterUpload});
        studio.chooseSyntheticImage();
        studio.startRestore();
        QTRY_VERIFY_WITH_TIMEOUT(!studio.restore()->isRestoring(), 30000);

        const QStringList lines = studio.logLines();
        QVERIFY2(lines.mid(lines.size() - fault.lastLines.size()) == fault.lastLines,
                 qPrintable(lines.mid(lines.size() - 8).join(u'\n')));
        QCOMPARE(studio.restore()->lastError(), std::optional(failedLine));
        QStringList received = studio.watch.log().filter(QRegularExpression(QStringLiteral("^upload ")));
        QCOMPARE(received, fault.uploads);
        QCOMPARE(studio.signing.requests().size(), 1);
    }

    // A watch that never comes back once iBEC runs: the tool would wait a minute for it, but the
    // stop button ends that wait as it ends the wait for restore mode.
    void stopWhileTheToolWaitsForAWatchGoneAfterIbec()
    {
        VirtualWatchStudio studio;
        studio.attach(Mode::Recovery);
        studio.watch.setFaults({.neverComeBack = true});
        studio.chooseSyntheticImage();
        studio.startRestore();
        QTRY_VERIFY_WITH_TIMEOUT(studio.watch.logged(QStringLiteral("leave")), 30000);
        QTest::qWait(1500); // into the tool's wait for the watch to reconnect
        QVERIFY(studio.restore()->isRestoring());

        QVERIFY(studio.stop());
        QVERIFY(!studio.logHas(waiting));
        QCOMPARE(studio.logLines().constLast(), failedLine);
    }

    // The device poll's irecovery -q while idevicerestore holds the watch open (here while it waits
    // for its tickets): the second claim of the interface is refused, as libusb refuses it.
    void devicePollWhileTheRestoreHoldsTheWatch()
    {
        VirtualWatchStudio studio;
        studio.attach(Mode::Recovery);
        studio.chooseSyntheticImage();
        studio.signing.holdAnswers(true);
        studio.startRestore();
        QTRY_COMPARE_WITH_TIMEOUT(studio.signing.requests().size(), 1, 30000);

        QCoro::waitFor(studio.monitor()->poll());
        QVERIFY(studio.watch.logged(QStringLiteral("claim busy")));
        QCOMPARE(studio.monitor()->connectedWatch(), std::nullopt);
        QCOMPARE(studio.monitor()->connectionHint(),
                 QStringLiteral("Устройство найдено, но Recovery/DFU не удалось прочитать"));

        // The restore itself goes on once the tickets come.
        studio.signing.holdAnswers(false);
        QTRY_VERIFY_WITH_TIMEOUT(studio.logHas(waiting), 30000);
        QVERIFY(studio.restore()->isRestoring());
    }

    // A DFU watch whose nonce changes once iBSS runs: idevicerestore asks for tickets again. Before
    // that it reads the SEP nonce over a second connection while its first still holds the watch;
    // the claim is refused and the tool retries for about 76 s before it asks without the SEP
    // nonce. That wait is the real tool's, and a technician would sit through it as well.
    void dfuWithANewNonceAsksForTicketsAgain()
    {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("The real tool's 76 s of retries are sat through once, in the plain build.");
#endif
        VirtualWatchStudio studio;
        studio.attach(Mode::Dfu);
        const QByteArray newNonce = "00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff";
        studio.watch.setFaults({.nonceAfterIbss = newNonce});
        studio.chooseSyntheticImage();
        studio.startRestore();
        QTRY_VERIFY_WITH_TIMEOUT(studio.logHas(waiting) || !studio.restore()->isRestoring(), 110000);
        QVERIFY2(studio.restore()->isRestoring(), qPrintable(studio.restore()->logText()));

        QCOMPARE(studio.signing.requests().size(), 2);
        QCOMPARE(studio.signing.requests().at(0).apNonce.toHex(), nonce);
        QCOMPARE(studio.signing.requests().at(1).apNonce.toHex(), newNonce);
        QCOMPARE(studio.signing.requests().at(1).ecid, 0x1A2B3C4D5E6Fu);
        const QString missing = firstMissing(
            studio.logLines(), {"Sending iBSS (586 bytes)...",
                                "Nonce: 00 11 22 33 44 55 66 77 88 99 aa bb cc dd ee ff 00 11 22 33 "
                                "44 55 66 77 88 99 aa bb cc dd ee ff",
                                "Sending iBEC (586 bytes)...", waiting});
        QVERIFY2(missing.isEmpty(), qPrintable(missing + u'\n' + studio.restore()->logText()));
        QVERIFY(studio.watch.logged(QStringLiteral("arrive recovery ibss")));
        QVERIFY(studio.stop());
    }
};

QTEST_MAIN(VirtualWatchStudioTest)
#include "VirtualWatchStudioTest.moc"
