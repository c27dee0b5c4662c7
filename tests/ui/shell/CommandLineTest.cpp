#include <QProcess>
#include <QTest>

// The application executable itself, as a terminal starts it.
class CommandLineTest final : public QObject {
    Q_OBJECT

private slots:
    void answersWithoutAWindow_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("platform");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("errors");
        const QString version = QStringLiteral("Corvalin Studio " CORVALIN_VERSION "\n");
        // Without a display an application object would abort on the X11 platform.
        const QString noDisplay = QStringLiteral("xcb");
        QTest::newRow("--version") << QStringList{"--version"} << noDisplay << 0 << version << QString();
        QTest::newRow("-v") << QStringList{"-v"} << noDisplay << 0 << version << QString();
        QTest::newRow("--help") << QStringList{"--help"} << noDisplay << 0 << QStringLiteral("-v, --version")
                                << QString();
        QTest::newRow("-h among the toolkit's options") << QStringList{"-reverse", "-h"} << noDisplay << 0
                                                        << QStringLiteral("Использование:") << QString();
        QTest::newRow("unknown option") << QStringList{"--erase-all"} << QStringLiteral("offscreen") << 2
                                        << QString() << QStringLiteral("Неизвестный параметр «erase-all».\n");
        QTest::newRow("two files") << QStringList{"a.ipsw", "b.ipsw"} << QStringLiteral("offscreen") << 2
                                   << QString() << QStringLiteral("Можно открыть только один файл.\n");
    }

    void answersWithoutAWindow()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, platform);
        QFETCH(int, exitCode);
        QFETCH(QString, output);
        QFETCH(QString, errors);
        QProcess application;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("DISPLAY"));
        environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), platform);
        application.setProcessEnvironment(environment);
        application.start(QStringLiteral(CORVALIN_APPLICATION), arguments);
        QVERIFY(application.waitForFinished(10000));
        const QString printed = QString::fromUtf8(application.readAllStandardOutput());
        const QString complained = QString::fromUtf8(application.readAllStandardError());
        QCOMPARE(application.exitStatus(), QProcess::NormalExit);
        QCOMPARE(application.exitCode(), exitCode);
        if (output.endsWith(u'\n'))
            QCOMPARE(printed, output);
        else
            QVERIFY2(printed.contains(output), qPrintable(printed));
        if (!errors.isEmpty())
            QVERIFY2(complained.endsWith(errors), qPrintable(complained));
    }
};

QTEST_GUILESS_MAIN(CommandLineTest)
#include "CommandLineTest.moc"
