#include "tools/DeviceTable.h"

#include <QTest>

class DeviceTableTest : public QObject {
    Q_OBJECT

private slots:
    void splitLine_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QStringList>("pieces");
        QTest::newRow("plain") << QStringLiteral("Watch6,1 n157bap 0x08 0x8301 Apple Watch Series 6 (40mm)")
                               << QStringList{"Watch6,1", "n157bap", "0x08", "0x8301",
                                              "Apple Watch Series 6 (40mm)"};
        QTest::newRow("runs of spaces before the name")
            << QStringLiteral("  Watch6,1   m  b   c  Name  with  spaces ")
            << QStringList{"Watch6,1", "m", "b", "c", " Name  with  spaces "};
        QTest::newRow("separator then nothing")
            << QStringLiteral("a b c d ") << QStringList{"a", "b", "c", "d"};
        QTest::newRow("carriage return stays")
            << QStringLiteral("a b c d e\r") << QStringList{"a", "b", "c", "d", "e\r"};
    }

    void splitLine()
    {
        QFETCH(QString, line);
        QFETCH(QStringList, pieces);
        QCOMPARE(DeviceTable::splitLine(line), pieces);
    }
};

QTEST_GUILESS_MAIN(DeviceTableTest)
#include "DeviceTableTest.moc"
