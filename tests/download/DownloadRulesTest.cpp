#include "download/ConnectionPolicy.h"
#include "download/DownloadProgress.h"

#include <QTest>

class DownloadRulesTest : public QObject {
    Q_OBJECT

private slots:
    // A percentage only with a known total, truncated, and right for images past 4 GB.
    void progressNeedsAKnownTotalAndTruncates()
    {
        const struct {
            qint64 received;
            qint64 total;
            QString status; // empty: no change at all
        } cases[] = {{500, -1, {}},
                     {0, 0, {}},
                     {1, 3, QStringLiteral("Загружено 33%")},
                     {999, 1000, QStringLiteral("Загружено 99%")},
                     {5'000'000'000, 5'000'000'000, QStringLiteral("Загружено 100%")}};
        for (const auto &c : cases) {
            const std::optional<double> fraction = DownloadProgress::fraction(c.received, c.total);
            QCOMPARE(fraction ? DownloadProgress::statusText(*fraction) : QString(), c.status);
        }
    }

    // The throughput measured after each change (MiB/s) and the connection counts it leads to.
    void connectionCountFollowsTheMeasuredGain_data()
    {
        QTest::addColumn<QList<double>>("rates");
        QTest::addColumn<QList<int>>("counts");
        QTest::newRow("capped per connection: fast to the limit")
            << QList<double>{20, 40, 160, 320} << QList{2, 8, 16, 16};
        QTest::newRow("link full: the added one closes") << QList<double>{900, 950, 2000} << QList{2, 1, 1};
        QTest::newRow("gain without a cap: doubles") << QList<double>{100, 150, 160} << QList{2, 4, 2};
    }
    void connectionCountFollowsTheMeasuredGain()
    {
        QFETCH(QList<double>, rates);
        QFETCH(QList<int>, counts);
        ConnectionPolicy policy;
        QList<int> seen{1};
        for (const double rate : rates)
            seen << policy.next(seen.last(), rate * 1024 * 1024);
        QCOMPARE(seen.mid(1), counts);
    }
};

QTEST_GUILESS_MAIN(DownloadRulesTest)
#include "DownloadRulesTest.moc"
