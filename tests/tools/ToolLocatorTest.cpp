#include "tools/ToolLocator.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"

#include <QDir>
#include <QFile>
#include <QTest>

class ToolLocatorTest : public QObject {
    Q_OBJECT

private slots:
    void toolsRootPrefersTheResourceFolderAndFallsBack()
    {
        TestPaths paths;
        QCOMPARE(ToolLocator::toolsRoot(), paths.toolsRoot());

        QVERIFY(QDir(paths.toolsRoot()).removeRecursively());
        const QString fallback = ToolLocator::toolsRoot();
        QVERIFY(fallback.endsWith(QStringLiteral("/.local/corvalin")));
        QVERIFY(fallback != paths.toolsRoot());

        // Only existence counts: a plain file named Tools is still the tools folder.
        QVERIFY(writeFile(paths.toolsRoot()));
        QCOMPARE(ToolLocator::toolsRoot(), paths.toolsRoot());
    }

    void cfgutilMustBeExecutable()
    {
        TestPaths paths;
        QCOMPARE(ToolLocator::cfgutil(), std::nullopt);

        QVERIFY(writeFile(paths.cfgutil(), "#!/bin/sh\n"));
        QCOMPARE(ToolLocator::cfgutil(), std::nullopt);

        QVERIFY(QFile::setPermissions(paths.cfgutil(),
                                      QFile::permissions(paths.cfgutil()) | QFileDevice::ExeOwner));
        QCOMPARE(ToolLocator::cfgutil(), std::optional(paths.cfgutil()));
    }

    void uncreatableFolderIsStillReturned()
    {
        TestPaths paths;
        const QString blocker = paths.downloads() + QStringLiteral("/Corvalin Firmware");
        QVERIFY(writeFile(blocker)); // a file where the folder should be
        QCOMPARE(ToolLocator::cacheDirectory(), blocker);
    }

    void environmentPrependsTheToolLibraries_data()
    {
        QTest::addColumn<std::optional<QString>>("inherited");
        QTest::addColumn<QString>("suffix");
        QTest::newRow("unset") << std::optional<QString>() << QString();
        QTest::newRow("empty") << std::optional<QString>(QString()) << QString();
        QTest::newRow("set") << std::optional<QString>(QStringLiteral("/opt/x")) << QStringLiteral(":/opt/x");
    }

    void environmentPrependsTheToolLibraries()
    {
        QFETCH(std::optional<QString>, inherited);
        QFETCH(QString, suffix);
        TestPaths paths;
        const QByteArray variable = ToolLocator::librarySearchVariable().toUtf8();
        const QByteArray saved = qgetenv(variable.constData());
        const QByteArray savedLocale = qgetenv("LC_ALL");
        if (inherited)
            qputenv(variable.constData(), inherited->toUtf8());
        else
            qunsetenv(variable.constData());
        qputenv("LC_ALL", "ru_RU.UTF-8");
        qputenv("CORVALIN_PASS_THROUGH", "kept");

        const QProcessEnvironment env = ToolLocator::environment();
        QCOMPARE(env.value(QString::fromUtf8(variable)), paths.toolsRoot() + QStringLiteral("/lib") + suffix);
        QCOMPARE(env.value(QStringLiteral("LC_ALL")), QStringLiteral("C"));
        QCOMPARE(env.value(QStringLiteral("CORVALIN_PASS_THROUGH")), QStringLiteral("kept"));
        QCOMPARE(env.value(QStringLiteral("PATH")), qEnvironmentVariable("PATH"));

        qputenv(variable.constData(), saved);
        qputenv("LC_ALL", savedLocale);
        qunsetenv("CORVALIN_PASS_THROUGH");
    }
};

QTEST_GUILESS_MAIN(ToolLocatorTest)
#include "ToolLocatorTest.moc"
