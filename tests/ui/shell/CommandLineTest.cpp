#include <QProcess>
#include <QTest>

// The application executable itself, as a terminal starts it.
class CommandLineTest final : public QObject {
    Q_OBJECT

private slots:
    void answersWithoutAWindow()
    {
        struct Case {
            QStringList arguments;
            int exitCode;
            QString output; // whole when it ends a line, else a part
            QString errors; // the end of standard error
        };
        const QString version = QStringLiteral("Corvalin Studio " CORVALIN_VERSION "\n");
        const std::vector<Case> cases{
            {{"--version"}, 0, version, {}},
            {{"-v"}, 0, version, {}},
            {{"--help"}, 0, "-v, --version", {}},
            {{"-reverse", "-h"}, 0, "Использование:", {}}, // among the toolkit's options
            {{"--erase-all"}, 2, {}, "Неизвестный параметр «erase-all».\n"},
            {{"a.ipsw", "b.ipsw"}, 2, {}, "Можно открыть только один файл.\n"},
        };
        for (const Case &row : cases) {
            qInfo().noquote() << row.arguments.join(u' ');
            QProcess application;
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.remove(QStringLiteral("DISPLAY"));
            environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
            // Without a display an application object would abort on the X11 platform: the answers
            // that need none must come before one is made.
            environment.insert(QStringLiteral("QT_QPA_PLATFORM"),
                               row.exitCode == 0 ? QStringLiteral("xcb") : QStringLiteral("offscreen"));
            application.setProcessEnvironment(environment);
            application.start(QStringLiteral(CORVALIN_APPLICATION), row.arguments);
            QVERIFY(application.waitForFinished(10000));
            const QString printed = QString::fromUtf8(application.readAllStandardOutput());
            const QString complained = QString::fromUtf8(application.readAllStandardError());
            QCOMPARE(application.exitStatus(), QProcess::NormalExit);
            QCOMPARE(application.exitCode(), row.exitCode);
            if (row.output.endsWith(u'\n'))
                QCOMPARE(printed, row.output);
            else
                QVERIFY2(printed.contains(row.output), qPrintable(printed));
            QVERIFY2(complained.endsWith(row.errors), qPrintable(complained));
        }
    }
};

QTEST_GUILESS_MAIN(CommandLineTest)
#include "CommandLineTest.moc"
