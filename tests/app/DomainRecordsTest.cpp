#include "app/Failure.h"
#include "app/NavigationSection.h"
#include "app/Result.h"
#include "app/StudioError.h"
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
        QCOMPARE(base, sample());
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
            [](WatchFirmware &f) { f.currentSignedVersion = QString(); },
            [](WatchFirmware &f) { f.currentSignedBuild = QString(); },
        };
        for (qsizetype i = 0; i < changes.size(); ++i) {
            WatchFirmware changed = sample();
            changes[i](changed);
            QVERIFY2(!(changed == base), qPrintable(QStringLiteral("field %1").arg(i + 1)));
            QVERIFY2(qHash(changed, 7) != qHash(base, 7), qPrintable(QStringLiteral("field %1").arg(i + 1)));
        }
    }

    void identityIsTheProductType()
    {
        WatchFirmware other = sample();
        other.sha256 = QStringLiteral("different");
        QCOMPARE(other.id(), sample().id());
        QVERIFY(!(other == sample()));
    }

    void emptyOptionalTextDiffersFromAbsent()
    {
        WatchFirmware withEmpty = sample();
        withEmpty.currentSignedBuild = QString();
        QVERIFY(!(withEmpty == sample()));
        QVERIFY(qHash(withEmpty) != qHash(sample()));
    }

    void navigationSections()
    {
        const QList<NavigationSection> all = Navigation::allCases();
        QCOMPARE(all.size(), 4);
        const QStringList titles{QStringLiteral("Главная"), QStringLiteral("Каталог прошивок"),
                                 QStringLiteral("Восстановление"), QStringLiteral("Журнал")};
        const QStringList symbols{QStringLiteral("square.grid.2x2"), QStringLiteral("square.and.arrow.down"),
                                  QStringLiteral("applewatch.radiowaves.left.and.right"),
                                  QStringLiteral("text.alignleft")};
        for (qsizetype i = 0; i < all.size(); ++i) {
            QCOMPARE(Navigation::rawValue(all[i]), titles[i]);
            QCOMPARE(Navigation::id(all[i]), titles[i]);
            QCOMPARE(Navigation::symbolName(all[i]), symbols[i]);
            QCOMPARE(Navigation::fromRawValue(titles[i]), std::optional(all[i]));
            QCOMPARE(qHash(all[i], 3), qHash(titles[i], 3));
        }
        QCOMPARE(Navigation::fromRawValue(QStringLiteral("главная")), std::nullopt);
        QCOMPARE(Navigation::fromRawValue(QStringLiteral("Главная ")), std::nullopt);
        QCOMPARE(Navigation::fromRawValue(QString()), std::nullopt);
    }

    void errorDescriptions()
    {
        QCOMPARE(StudioError::toolMissing(QStringLiteral("irecovery")).errorDescription(),
                 QStringLiteral("Не найден встроенный инструмент irecovery."));
        QCOMPARE(StudioError::processFailed(QString()).errorDescription(), QString());
        QCOMPARE(StudioError::processFailed(QStringLiteral("сбой")).errorDescription(),
                 QStringLiteral("сбой"));
        QCOMPARE(StudioError::incompatibleIPSW(QStringLiteral("Watch6,1")).errorDescription(),
                 QStringLiteral("IPSW не содержит модель Watch6,1 в BuildManifest."));
        QCOMPARE(StudioError::invalidCatalog().errorDescription(),
                 QStringLiteral("Каталог прошивок имеет неизвестный формат."));
        QCOMPARE(StudioError::noFirmware().errorDescription(),
                 QStringLiteral("Полный Restore.ipsw для этой модели не найден."));
        QCOMPARE(StudioError::invalidDownloadURL().errorDescription(),
                 QStringLiteral("Каталог вернул ссылку не на CDN Apple."));
        QCOMPARE(StudioError::checksumMismatch().errorDescription(),
                 QStringLiteral("Контрольная сумма SHA-256 не совпадает."));
    }

    void failuresKeepTheirOwnDescription()
    {
        const Failure ours = StudioError::invalidCatalog();
        QCOMPARE(ours.domain(), Failure::Domain::studio);
        QCOMPARE(ours.description(), StudioError::invalidCatalog().errorDescription());
        QVERIFY(ours.studioError().has_value());

        const Failure platform =
            Failure::platform(Failure::Domain::network, QStringLiteral("Connection refused"), 1);
        QCOMPARE(platform.description(), QStringLiteral("Connection refused"));
        QVERIFY(!platform.studioError().has_value());
        QCOMPARE(platform.code(), 1);

        const Result<int> good = 5;
        const Result<int> bad = StudioError::checksumMismatch();
        QVERIFY(good.ok());
        QCOMPARE(good.value(), 5);
        QVERIFY(!bad.ok());
        QCOMPARE(bad.failure().description(), QStringLiteral("Контрольная сумма SHA-256 не совпадает."));
    }
};

QTEST_GUILESS_MAIN(DomainRecordsTest)
#include "DomainRecordsTest.moc"
