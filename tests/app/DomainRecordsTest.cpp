#include "app/WatchFirmware.h"

#include <QTest>

namespace {

WatchFirmware sample()
{
    return WatchFirmware{QStringLiteral("Watch6,1"),
                         QStringLiteral("Apple Watch Series 6"),
                         QStringLiteral("10.0.2"),
                         QStringLiteral("21R360"),
                         QStringLiteral("2023-10-10"),
                         true,
                         QUrl(QStringLiteral("https://updates.cdn-apple.com/a/Watch.ipsw")),
                         QStringLiteral("Watch.ipsw"),
                         QStringLiteral("ABCDEF"),
                         42,
                         std::nullopt,
                         std::nullopt};
}

} // namespace

class DomainRecordsTest : public QObject {
    Q_OBJECT

private slots:
    void currentNote_data()
    {
        QTest::addColumn<std::optional<QString>>("signedVersion");
        QTest::addColumn<std::optional<QString>>("signedBuild");
        QTest::addColumn<std::optional<QString>>("note");
        const auto some = [](const char *text) { return std::optional<QString>(QString::fromUtf8(text)); };
        QTest::newRow("both absent") << std::optional<QString>() << std::optional<QString>()
                                     << std::optional<QString>();
        QTest::newRow("build absent")
            << some("10.6.1") << std::optional<QString>() << std::optional<QString>();
        QTest::newRow("same build, other version")
            << some("9.9") << some("21R360") << std::optional<QString>();
        QTest::newRow("other build")
            << some("10.6.1") << some("21U580")
            << some("Актуальная подписываемая сборка watchOS 10.6.1 (21U580) доступна только как OTA.");
        QTest::newRow("case differs only")
            << some("10.0.2") << some("21r360")
            << some("Актуальная подписываемая сборка watchOS 10.0.2 (21r360) доступна только как OTA.");
        QTest::newRow("empty texts are present")
            << some("") << some("")
            << some("Актуальная подписываемая сборка watchOS  () доступна только как OTA.");
    }

    void currentNote()
    {
        QFETCH(std::optional<QString>, signedVersion);
        QFETCH(std::optional<QString>, signedBuild);
        QFETCH(std::optional<QString>, note);
        WatchFirmware firmware = sample();
        firmware.currentSignedVersion = signedVersion;
        firmware.currentSignedBuild = signedBuild;
        QCOMPARE(firmware.currentNote(), note);
    }

    void equalityAndHashCoverEveryField()
    {
        const WatchFirmware base = sample();
        QCOMPARE(qHash(base, 7), qHash(sample(), 7));

        const QList<std::function<void(WatchFirmware &)>> changes = {
            [](WatchFirmware &f) { f.productType = QStringLiteral("Watch6,2"); },
            [](WatchFirmware &f) { f.deviceName += u'x'; },
            [](WatchFirmware &f) { f.version += u'x'; },
            [](WatchFirmware &f) { f.build += u'x'; },
            [](WatchFirmware &f) { f.released.clear(); },
            [](WatchFirmware &f) { f.isCatalogSigned = false; },
            [](WatchFirmware &f) { f.downloadURL = QUrl(QStringLiteral("https://updates.cdn-apple.com/b")); },
            [](WatchFirmware &f) { f.filename += u'x'; },
            [](WatchFirmware &f) { f.sha256 = QStringLiteral("abcdef"); },
            [](WatchFirmware &f) { f.size = 43; },
            [](WatchFirmware &f) { f.currentSignedVersion = QString(); }, // empty is not absent
            [](WatchFirmware &f) { f.currentSignedBuild = QString(); },
        };
        for (qsizetype i = 0; i < changes.size(); ++i) {
            WatchFirmware changed = sample();
            changes[i](changed);
            QVERIFY2(!(changed == base), qPrintable(QStringLiteral("field %1").arg(i + 1)));
            QVERIFY2(qHash(changed, 7) != qHash(base, 7), qPrintable(QStringLiteral("field %1").arg(i + 1)));
        }
    }
};

QTEST_GUILESS_MAIN(DomainRecordsTest)
#include "DomainRecordsTest.moc"
