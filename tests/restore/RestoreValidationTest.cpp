#include "restore/IpswInfo.h"
#include "restore/RestoreManager.h"
#include "support/FakeTools.h"
#include "support/TestPaths.h"
#include "tools/ToolLocator.h"

#include <QCoroTask>
#include <QTest>

namespace {

const QString damaged = QStringLiteral("Файл повреждён, является OTA или не поддерживается.");

} // namespace

class RestoreValidationTest : public QObject {
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
        // The real tool's own output: RealToolsTest and every restore of VirtualWatchStudioTest.
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

    void refusals_data()
    {
        QTest::addColumn<bool>("toolPresent");
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<int>("status");

        // An image for another model is refused as the real tool reads it (RealToolsTest).
        QTest::newRow("failed with a matching line")
            << true << QByteArray("Supported Product Types: Watch6,1 Watch6,2") << 1;
        QTest::newRow("tool missing") << false << QByteArray() << 0;
    }

    void refusals()
    {
        QFETCH(bool, toolPresent);
        QFETCH(QByteArray, output);
        QFETCH(int, status);

        TestPaths paths;
        const QString tool = paths.tool(QStringLiteral("bin/idevicerestore"));
        if (toolPresent)
            FakeTools::write(tool, FakeToolBehaviour::printing(output, status));
        RestoreManager manager;
        manager.appendLog(QStringLiteral("earlier line"));
        const QString before = manager.logText();

        QVERIFY(
            !QCoro::waitFor(manager.validate(QStringLiteral("/images/a.ipsw"), QStringLiteral("Watch6,2"))));
        QCOMPARE(manager.lastError(), std::optional<QString>(damaged));
        QVERIFY(!manager.isValidating());
        // What the tool said stays readable; the refusal itself is not logged.
        const QString toolSaid =
            toolPresent ? QString::fromUtf8(output) : QStringLiteral("Инструмент не найден: ") + tool;
        QString expected = before + QStringLiteral("Проверка a.ipsw…\n") + toolSaid;
        if (!expected.endsWith(u'\n'))
            expected += u'\n';
        QCOMPARE(manager.logText(), expected);
    }
};

QTEST_GUILESS_MAIN(RestoreValidationTest)
#include "RestoreValidationTest.moc"
