#include "catalog/CatalogOrdering.h"
#include "catalog/CanonicalComposition.h"
#include "catalog/SemanticVersion.h"

#include <QTest>

class CatalogOrderingTest : public QObject {
    Q_OBJECT

private slots:
    void parsesVersions_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isVersion");
        QTest::addColumn<qint64>("major");
        QTest::addColumn<qint64>("minor");
        QTest::addColumn<qint64>("patch");

        const auto version = [](const char *name, qint64 major, qint64 minor, qint64 patch) {
            QTest::newRow(name) << QString::fromUtf8(name) << true << major << minor << patch;
        };
        const auto notVersion = [](const char *name, const QString &text) {
            QTest::newRow(name) << text << false << qint64(0) << qint64(0) << qint64(0);
        };
        version("10.4.1", 10, 4, 1);
        version("10", 10, 0, 0);
        version(".5", 5, 0, 0);
        version("1..2.", 1, 2, 0);
        version("+3.1", 3, 1, 0);
        version("-1.0", -1, 0, 0);
        version("007.08", 7, 8, 0);
        version("9223372036854775807.-9223372036854775808", std::numeric_limits<qint64>::max(),
                std::numeric_limits<qint64>::min(), 0);
        notVersion("build in parentheses", QStringLiteral("9.6.3 (20U502)"));
        notVersion("four parts", QStringLiteral("1.2.3.4"));
        notVersion("empty", QString());
        notVersion("dots only", QStringLiteral("..."));
        notVersion("lone sign", QStringLiteral("1.+"));
        notVersion("inner space", QStringLiteral("1. 2"));
        notVersion("one past the maximum", QStringLiteral("9223372036854775808"));
        notVersion("one below the minimum", QStringLiteral("-9223372036854775809"));
        notVersion("non-ASCII digit", QStringLiteral("1.\u0661")); // ARABIC-INDIC DIGIT ONE
    }

    void parsesVersions()
    {
        QFETCH(QString, text);
        QFETCH(bool, isVersion);
        const std::optional<SemanticVersion> version = SemanticVersion::parse(text);
        QCOMPARE(version.has_value(), isVersion);
        if (version) {
            QFETCH(qint64, major);
            QFETCH(qint64, minor);
            QFETCH(qint64, patch);
            QCOMPARE(version->major, major);
            QCOMPARE(version->minor, minor);
            QCOMPARE(version->patch, patch);
        }
    }

    void ordersModelsByNumbers()
    {
        const QStringList shuffled{"Watch7,1", "Watch6,14", "Watch6,2", "Watch06,14", "Watch1,2", "Watch6,1",
                                   "Watch6",   "WatchX,1",  "Watch2,3", "Watch6,18",  "Watch1,1", "Watch"};
        QList<WatchFirmware> firmware;
        for (const QString &productType : shuffled)
            firmware << WatchFirmware{productType, {}, {}, {}, {}, false, {}, {}, {}, 0, {}, {}};
        CatalogOrdering::orderByModel(firmware);

        QStringList ordered;
        for (const WatchFirmware &entry : firmware)
            ordered << entry.productType;
        // Equal keys (Watch6,14 and Watch06,14) keep their input order.
        QCOMPARE(ordered,
                 (QStringList{"Watch", "WatchX,1", "Watch1,1", "Watch1,2", "Watch2,3", "Watch6", "Watch6,1",
                              "Watch6,2", "Watch6,14", "Watch06,14", "Watch6,18", "Watch7,1"}));
    }

    // Canonical composition of our own agrees with Qt's, including reordered marks, Hangul,
    // composition exclusions and unpaired surrogates.
    void composesAsQtDoes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("marks out of order") << QStringLiteral("a\u0301\u0316\u0327b");
        QTest::newRow("Hangul jamo") << QStringLiteral("\u1100\u1161\u11A8\u1161");
        QTest::newRow("Hangul syllable and trailing jamo") << QStringLiteral("\uAC00\u11A8");
        QTest::newRow("excluded composite") << QStringLiteral("\u0958\u2126\u212B");
        QTest::newRow("Tibetan vowel") << QStringLiteral("\u0F40\u0F73\u0F80");
        QTest::newRow("two-part vowel") << QStringLiteral("\u0B47\u0B3E\u0B47\u0B57");
        QTest::newRow("supplementary") << QStringLiteral("\U00011099\U000110BA x");
        QTest::newRow("unpaired surrogate") << QString(QChar(0xD800)) + QStringLiteral("e\u0301");
        QTest::newRow("already composed") << QStringLiteral("2023-09-18 \u00E9\u0416");
    }
    void composesAsQtDoes()
    {
        QFETCH(QString, text);
        QCOMPARE(CanonicalComposition::composed(text), text.normalized(QString::NormalizationForm_C));
    }

    // Dates rank by text order once; equal texts (also when only canonically equal) share a rank.
    // Text compares by scalars: U+FFFD comes before U+1F600, though not as UTF-16 code units.
    void ranksDates()
    {
        const QStringList dates{"2023-09-18", "",       "e\u0301",    "2022-01-01",
                                "2023-09-18", "\u00E9", "\U0001F600", "\uFFFD"};
        QCOMPARE(CatalogOrdering::dateRanks(dates), (QList<qsizetype>{2, 0, 3, 1, 2, 3, 5, 4}));
    }
};

QTEST_GUILESS_MAIN(CatalogOrderingTest)
#include "CatalogOrderingTest.moc"
