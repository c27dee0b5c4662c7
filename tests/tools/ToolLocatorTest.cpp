#include "tools/ToolLocator.h"
#include "support/TestFiles.h"
#include "support/TestPaths.h"

#include <QFile>
#include <QTest>

class ToolLocatorTest : public QObject {
    Q_OBJECT

private slots:
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

    // Images are never written anywhere else, such as the working folder, because the firmware
    // folder cannot be made.
    void uncreatableFolderIsStillReturned()
    {
        TestPaths paths;
        const QString blocker = paths.downloads() + QStringLiteral("/Corvalin Firmware");
        QVERIFY(writeFile(blocker)); // a file where the folder should be
        QCOMPARE(ToolLocator::cacheDirectory(), blocker);
    }

    // The tools find their own libraries first; an empty inherited value adds no empty entry,
    // which would stand for the working folder. Everything else is inherited, but the locale.
    void environmentPrependsTheToolLibraries()
    {
        TestPaths paths;
        const QByteArray variable = ToolLocator::librarySearchVariable().toUtf8();
        const QByteArray saved = qgetenv(variable.constData());
        const QByteArray savedLocale = qgetenv("LC_ALL");
        qputenv("LC_ALL", "ru_RU.UTF-8");
        qputenv("CORVALIN_PASS_THROUGH", "kept");
        const QString libraries = paths.toolsRoot() + QStringLiteral("/lib");
        for (const auto &[inherited, expected] : {std::pair<const char *, QString>{nullptr, libraries},
                                                  {"", libraries},
                                                  {"/opt/x", libraries + QStringLiteral(":/opt/x")}}) {
            if (inherited)
                qputenv(variable.constData(), inherited);
            else
                qunsetenv(variable.constData());
            const QProcessEnvironment env = ToolLocator::environment();
            QCOMPARE(env.value(QString::fromUtf8(variable)), expected);
            QCOMPARE(env.value(QStringLiteral("LC_ALL")), QStringLiteral("C"));
            QCOMPARE(env.value(QStringLiteral("CORVALIN_PASS_THROUGH")), QStringLiteral("kept"));
            QCOMPARE(env.value(QStringLiteral("PATH")), qEnvironmentVariable("PATH"));
        }
        qputenv(variable.constData(), saved);
        qputenv("LC_ALL", savedLocale);
        qunsetenv("CORVALIN_PASS_THROUGH");
    }
};

QTEST_GUILESS_MAIN(ToolLocatorTest)
#include "ToolLocatorTest.moc"
