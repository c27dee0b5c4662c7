#include "catalog/CatalogOrdering.h"
#include "catalog/CanonicalComposition.h"
#include "catalog/SemanticVersion.h"

#include <QTest>

class CatalogOrderingTest : public QObject {
    Q_OBJECT

private slots:
    void parsesVersions()
    {
        const std::pair<QString, const char *> cases[] = {
            {"10.4.1", "10.4.1"},
            {"10", "10.0.0"},
            {".5", "5.0.0"},
            {"1..2.", "1.2.0"},
            {"+3.1", "3.1.0"},
            {"-1.0", "-1.0.0"},
            {"007.08", "7.8.0"},
            {"9223372036854775807.-9223372036854775808", "9223372036854775807.-9223372036854775808.0"},
            {"9.6.3 (20U502)", "none"},
            {"1.2.3.4", "none"},
            {"", "none"},
            {"...", "none"},
            {"1.+", "none"},
            {"1. 2", "none"},
            {"9223372036854775808", "none"},
            {"-9223372036854775809", "none"},
            {"1.\u0661", "none"}, // ARABIC-INDIC DIGIT ONE
        };
        for (const auto &[text, expected] : cases) {
            const std::optional<SemanticVersion> version = SemanticVersion::parse(text);
            const QString parsed =
                version
                    ? QStringLiteral("%1.%2.%3").arg(version->major).arg(version->minor).arg(version->patch)
                    : QStringLiteral("none");
            QCOMPARE(text + u'=' + parsed, text + u'=' + QString::fromLatin1(expected));
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
    // composition exclusions, two-part vowels and unpaired surrogates.
    void composesAsQtDoes()
    {
        for (const QString &text :
             {QStringLiteral("a\u0301\u0316\u0327b"), QStringLiteral("\u1100\u1161\u11A8\u1161"),
              QStringLiteral("\uAC00\u11A8"), QStringLiteral("\u0958\u2126\u212B"),
              QStringLiteral("\u0F40\u0F73\u0F80"), QStringLiteral("\u0B47\u0B3E\u0B47\u0B57"),
              QStringLiteral("\U00011099\U000110BA x"), QString(QChar(0xD800)) + QStringLiteral("e\u0301"),
              QStringLiteral("2023-09-18 \u00E9\u0416")})
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
