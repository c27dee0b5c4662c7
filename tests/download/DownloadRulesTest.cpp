#include "download/ChecksumTool.h"
#include "download/DownloadProgress.h"

#include <QTest>

#include <limits>

class DownloadRulesTest : public QObject {
    Q_OBJECT

private slots:
    void progressNeedsAKnownTotalAndTruncates_data()
    {
        QTest::addColumn<qint64>("received");
        QTest::addColumn<qint64>("total");
        QTest::addColumn<QString>("status"); // empty: no change at all
        QTest::newRow("unknown total") << qint64(500) << qint64(-1) << QString();
        QTest::newRow("zero total") << qint64(0) << qint64(0) << QString();
        QTest::newRow("one of three") << qint64(1) << qint64(3) << QStringLiteral("Загружено 33%");
        QTest::newRow("almost all") << qint64(999) << qint64(1000) << QStringLiteral("Загружено 99%");
        QTest::newRow("all of 5 GB") << qint64(5'000'000'000) << qint64(5'000'000'000)
                                     << QStringLiteral("Загружено 100%");
    }
    void progressNeedsAKnownTotalAndTruncates()
    {
        QFETCH(qint64, received);
        QFETCH(qint64, total);
        QFETCH(QString, status);
        const std::optional<double> fraction = DownloadProgress::fraction(received, total);
        QCOMPARE(fraction.has_value(), !status.isEmpty());
        if (fraction) {
            QCOMPARE(*fraction, double(received) / double(total));
            QCOMPARE(DownloadProgress::statusText(*fraction), status);
        }
    }

    // Shares no transfer produces today, bounded before the conversion (which would otherwise
    // be undefined and caught by the sanitizer build).
    void statusTextBoundsItsShare()
    {
        QCOMPARE(DownloadProgress::statusText(1e30), QStringLiteral("Загружено 100%"));
        QCOMPARE(DownloadProgress::statusText(-1e30), QStringLiteral("Загружено 0%"));
        QCOMPARE(DownloadProgress::statusText(std::numeric_limits<double>::infinity()),
                 QStringLiteral("Загружено 100%"));
        QCOMPARE(DownloadProgress::statusText(std::numeric_limits<double>::quiet_NaN()),
                 QStringLiteral("Загружено 0%"));
    }

    void digestIsTheFirstPieceOfTheToolOutput()
    {
        QCOMPARE(ChecksumTool::firstPiece(QStringLiteral("ab12  /tmp/x.ipsw\n")), QStringLiteral("ab12"));
        QCOMPARE(ChecksumTool::firstPiece(QStringLiteral("   ab12 x")), QStringLiteral("ab12"));
        QCOMPARE(ChecksumTool::firstPiece(QStringLiteral("Инструмент не найден: /usr/bin/shasum")),
                 QStringLiteral("Инструмент"));
        QCOMPARE(ChecksumTool::firstPiece(QStringLiteral("   ")), QString());
    }

    void digestComparison()
    {
        // With no digest to compare, even a missing tool's message is accepted.
        QVERIFY(ChecksumTool::accepts(QString(), QStringLiteral("Инструмент")));
        QVERIFY(!ChecksumTool::accepts(QStringLiteral("ab12"), QString()));
        QVERIFY(!ChecksumTool::accepts(QStringLiteral("ab12"), QStringLiteral("ab13")));
    }
};

QTEST_GUILESS_MAIN(DownloadRulesTest)
#include "DownloadRulesTest.moc"
