#include "tools/DeviceTable.h"
#include "support/FakeTools.h"
#include "support/TestPaths.h"

#include <QCoroTask>
#include <QFile>
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
        QTest::newRow("four pieces") << QStringLiteral("Watch6,1 m b c")
                                     << QStringList{"Watch6,1", "m", "b", "c"};
        QTest::newRow("separator then nothing")
            << QStringLiteral("a b c d ") << QStringList{"a", "b", "c", "d"};
        QTest::newRow("carriage return stays")
            << QStringLiteral("a b c d e\r") << QStringList{"a", "b", "c", "d", "e\r"};
        QTest::newRow("empty") << QString() << QStringList{};
    }

    void splitLine()
    {
        QFETCH(QString, line);
        QFETCH(QStringList, pieces);
        QCOMPARE(DeviceTable::splitLine(line), pieces);
    }

    void parseRecordedTable()
    {
        QFile file(QStringLiteral(CORVALIN_TEST_DATA "/irecovery-devices-excerpt.txt"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QList<DeviceTable::Row> rows =
            DeviceTable::parse(QString::fromUtf8(file.readAll()) + QStringLiteral("\n\nshort line\n"));
        QCOMPARE(rows.size(), 66);
        const auto watch = std::find_if(rows.begin(), rows.end(),
                                        [](const auto &row) { return row.productType == u"Watch1,1"; });
        QVERIFY(watch != rows.end());
        QCOMPARE(watch->hardwareModel, QStringLiteral("n27aap"));
        QCOMPARE(watch->name, QStringLiteral("Apple Watch 38mm (1st gen)"));
    }

    void fetchRunsTheShippedTool()
    {
        TestPaths paths;
        const QString tool = FakeTools::write(paths.tool(QStringLiteral("bin/irecovery")),
                                              FakeToolBehaviour::printing("Watch1,1 a b c Name\n", 1));
        QCOMPARE(QCoro::waitFor(DeviceTable::fetch()), QStringLiteral("Watch1,1 a b c Name\n"));
        QCOMPARE(FakeTools::recordedArguments(tool), QStringList{QStringLiteral("--devices")});

        QFile::remove(tool);
        QVERIFY(QCoro::waitFor(DeviceTable::fetch()).startsWith(QStringLiteral("Инструмент не найден: ")));
    }
};

QTEST_GUILESS_MAIN(DeviceTableTest)
#include "DeviceTableTest.moc"
