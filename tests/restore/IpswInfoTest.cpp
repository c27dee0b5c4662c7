#include "restore/IpswInfo.h"
#include "restore/RestoreLogFile.h"
#include "support/TestFiles.h"

#include <QFile>
#include <QTest>

class IpswInfoTest : public QObject {
    Q_OBJECT

private slots:
    void productTypeMatching_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("productType");
        QTest::addColumn<bool>("listed");

        const QString pair =
            QStringLiteral("Product Version: 7.0\nSupported Product Types: Watch6,1 Watch6,2\n");
        QTest::newRow("second of two") << pair << "Watch6,2" << true;
        QTest::newRow("prefix of a type") << pair << "Watch6" << false;
        QTest::newRow("other case") << pair << "watch6,2" << false;
        QTest::newRow("colour-wrapped line")
            << QStringLiteral("\x1b[1;32mSupported Product Types: Watch6,1 Watch6,2\x1b[0m\n") << "Watch6,2"
            << true;
        QTest::newRow("lower-case label")
            << QStringLiteral("supported product types: Watch6,1\n") << "Watch6,1" << false;
        QTest::newRow("only the first label line counts")
            << QStringLiteral("Supported Product Types: Watch5,1\nSupported Product Types: Watch6,1\n")
            << "Watch6,1" << false;
        QTest::newRow("runs of spaces")
            << QStringLiteral("Supported Product Types:   Watch6,1   Watch6,2") << "Watch6,2" << true;
        QTest::newRow("tab is no separator")
            << QStringLiteral("Supported Product Types:\tWatch6,1\n") << "Watch6,1" << false;
        QTest::newRow("trailing comma")
            << QStringLiteral("Supported Product Types: Watch6,1, Watch6,2\n") << "Watch6,1" << false;
        QTest::newRow("no label") << QStringLiteral("Watch6,1\n") << "Watch6,1" << false;
        QTest::newRow("tool output") << QString::fromUtf8(testData("idevicerestore-ipsw-info.txt"))
                                     << "Watch7,1" << true;
        QTest::newRow("tool output, two models")
            << QString::fromUtf8(testData("idevicerestore-ipsw-info-multi.txt")) << "Watch2,6" << true;
    }

    void productTypeMatching()
    {
        QFETCH(QString, output);
        QFETCH(QString, productType);
        QFETCH(bool, listed);
        QCOMPARE(IpswInfo::listsProductType(output, productType), listed);
    }

    void onlyColourSequencesAreRemoved()
    {
        QCOMPARE(IpswInfo::withoutColourSequences(QStringLiteral("\x1b[1;37mA\x1b[m B \x1b[2Kc [0m")),
                 QStringLiteral("A B \x1b[2Kc [0m"));
    }

    void logFileNameIsUtcWithoutColons()
    {
        const QDateTime utc(QDate(2026, 11, 16), QTime(9, 47, 13, 512), Qt::UTC);
        QCOMPARE(RestoreLogFile::fileName(utc), QStringLiteral("restore-2026-11-16T09-47-13Z.log"));
        const QDateTime moscow(QDate(2026, 11, 16), QTime(12, 47, 13), Qt::OffsetFromUTC, 3 * 3600);
        QCOMPARE(RestoreLogFile::fileName(moscow), QStringLiteral("restore-2026-11-16T09-47-13Z.log"));
    }
};

QTEST_GUILESS_MAIN(IpswInfoTest)
#include "IpswInfoTest.moc"
