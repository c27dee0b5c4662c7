#include "app/WatchFirmware.h"

#include <QTest>

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
        WatchFirmware firmware{};
        firmware.build = QStringLiteral("21R360");
        firmware.currentSignedVersion = signedVersion;
        firmware.currentSignedBuild = signedBuild;
        QCOMPARE(firmware.currentNote(), note);
    }
};

QTEST_GUILESS_MAIN(DomainRecordsTest)
#include "DomainRecordsTest.moc"
