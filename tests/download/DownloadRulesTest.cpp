#include "download/DownloadProgress.h"
#include "download/RangePlan.h"

#include <QTest>

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
        if (fraction) // a wrong fraction shows as a wrong percentage
            QCOMPARE(DownloadProgress::statusText(*fraction), status);
    }

    // Connections are added by halving the largest piece still being fetched; gaps left by an
    // earlier attempt are handed out first, lowest first.
    void rangesAreHandedOutAndSplit_data()
    {
        QTest::addColumn<std::vector<Segment>>("held");
        QTest::addColumn<int>("connections");
        QTest::addColumn<std::vector<Segment>>("expected");
        const qint64 mib = 1024 * 1024;
        QTest::newRow("fresh file halved, then the first of the largest")
            << std::vector<Segment>{{0, 0, 64 * mib, false}} << 3
            << std::vector<Segment>{{0, 0, 16 * mib, true},
                                    {32 * mib, 32 * mib, 64 * mib, true},
                                    {16 * mib, 16 * mib, 32 * mib, true}};
        QTest::newRow("gaps of an earlier attempt first, finished ones never")
            << std::vector<Segment>{{0, 10, 10, false},
                                    {10, 30, 40 * mib, false},
                                    {40 * mib, 41 * mib, 64 * mib, false}}
            << 2
            << std::vector<Segment>{
                   {0, 10, 10, false}, {10, 30, 40 * mib, true}, {40 * mib, 41 * mib, 64 * mib, true}};
        QTest::newRow("too little left to split") << std::vector<Segment>{{0, 0, 7 * mib, false}} << 2
                                                  << std::vector<Segment>{{0, 0, 7 * mib, true}};
    }
    void rangesAreHandedOutAndSplit()
    {
        QFETCH(std::vector<Segment>, held);
        QFETCH(int, connections);
        QFETCH(std::vector<Segment>, expected);
        RangePlan plan(held);
        const qint64 heldBefore = plan.held();
        for (int i = 0; i < connections; ++i) {
            if (!plan.takeGap())
                plan.split(4 * 1024 * 1024);
        }
        QCOMPARE(plan.segments(), expected);
        QCOMPARE(plan.held(), heldBefore);
        QVERIFY(!plan.complete());
    }
};

Q_DECLARE_METATYPE(std::vector<Segment>)

QTEST_GUILESS_MAIN(DownloadRulesTest)
#include "DownloadRulesTest.moc"
