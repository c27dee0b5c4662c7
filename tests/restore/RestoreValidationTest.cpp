#include "restore/RestoreManager.h"
#include "support/FakeTools.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"
#include "tools/ToolLocator.h"

#include <QCoroTask>
#include <QFile>
#include <QTest>

namespace {

const QString damaged = QStringLiteral("Файл повреждён, является OTA или не поддерживается.");

} // namespace

class RestoreValidationTest : public QObject {
    Q_OBJECT

private slots:
    void refusals_data()
    {
        QTest::addColumn<bool>("toolPresent");
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("error");

        const QByteArray matching = "Supported Product Types: Watch6,1 Watch6,2";
        const QString incompatible = QStringLiteral("IPSW не содержит модель Watch6,2 в BuildManifest.");
        QTest::newRow("failed with a matching line") << true << matching << 1 << damaged;
        QTest::newRow("model not listed")
            << true << testData("idevicerestore-ipsw-info-multi.txt") << 0 << incompatible;
        QTest::newRow("tool missing") << false << QByteArray() << 0 << damaged;
    }

    void refusals()
    {
        QFETCH(bool, toolPresent);
        QFETCH(QByteArray, output);
        QFETCH(int, status);
        QFETCH(QString, error);

        TestPaths paths;
        const QString tool = paths.tool(QStringLiteral("bin/idevicerestore"));
        if (toolPresent)
            FakeTools::write(tool, FakeToolBehaviour::printing(output, status));
        RestoreManager manager;
        manager.appendLog(QStringLiteral("earlier line"));
        const QString before = manager.logText();

        QVERIFY(
            !QCoro::waitFor(manager.validate(QStringLiteral("/images/a.ipsw"), QStringLiteral("Watch6,2"))));
        QCOMPARE(manager.lastError(), std::optional<QString>(error));
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
