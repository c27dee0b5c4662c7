#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

constexpr int waitMs = 10000;

// One copy of the probe, started with a private home, and killed at the end if it still runs.
struct Copy : QProcess {
    Copy(const QString &home, const QStringList &arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), home);
        environment.remove(QStringLiteral("XDG_DATA_HOME"));
        setProcessEnvironment(environment);
        setProcessChannelMode(QProcess::ForwardedErrorChannel);
        start(QStringLiteral(CORVALIN_PROBE), arguments);
    }
    ~Copy() override
    {
        kill();
        waitForFinished();
    }

    // The next line the copy prints, or an empty one if it prints none in time.
    QByteArray line()
    {
        while (!canReadLine()) {
            if (!waitForReadyRead(waitMs))
                return {};
        }
        return readLine().trimmed();
    }
};

} // namespace

// Two real processes of the production claim: a later start hands its file to the first copy
// and ends; a copy that died leaves nothing that stops the next one.
class SingleInstanceTest final : public QObject {
    Q_OBJECT

private slots:
    void laterStartsHandTheirFilesToTheFirst()
    {
        Copy first(m_home.path(), {});
        QCOMPARE(first.line(), QByteArray("first"));
        for (const QString &file : {QString(), QStringLiteral("/образы/часы 10\n.ipsw")}) {
            Copy later(m_home.path(), file.isEmpty() ? QStringList{} : QStringList{file});
            QVERIFY(later.waitForFinished(waitMs));
            QCOMPARE(later.line(), QByteArray("handed over"));
            QCOMPARE(later.exitCode(), 0);
            QCOMPARE(first.line(), "asked=" + file.toUtf8().toPercentEncoding());
        }
        QCOMPARE(first.state(), QProcess::Running);

        // The lock and the socket are in the application's folder of the test home.
        const QDir folder(m_home.filePath(QStringLiteral(".qttest/share/Corvalin Studio")));
        QVERIFY(folder.exists(QStringLiteral("instance.lock")));
        QVERIFY(folder.exists(QStringLiteral("instance.socket")));
        QCOMPARE(QDir(m_home.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::Hidden),
                 QStringList{QStringLiteral(".qttest")});
    }

    // A crashed first copy leaves its lock and socket behind; the next start takes both over.
    void deadCopyIsReplaced()
    {
        {
            Copy crashed(m_home.path(), {});
            QCOMPARE(crashed.line(), QByteArray("first"));
            crashed.kill();
            QVERIFY(crashed.waitForFinished(waitMs));
        }
        Copy next(m_home.path(), {});
        QCOMPARE(next.line(), QByteArray("first"));
        Copy later(m_home.path(), {QStringLiteral("/a.ipsw")});
        QCOMPARE(later.line(), QByteArray("handed over"));
        QCOMPARE(next.line(), QByteArray("asked=%2Fa.ipsw"));
    }

    // Several starts at once: exactly one runs, every other one reaches it.
    void simultaneousStartsElectOne()
    {
        std::vector<std::unique_ptr<Copy>> copies;
        for (int index = 0; index < 4; ++index)
            copies.push_back(std::make_unique<Copy>(m_home.path(), QStringList{}));
        int firsts = 0;
        for (const auto &copy : copies) {
            const QByteArray said = copy->line();
            QVERIFY2(said == "first" || said == "handed over", said.constData());
            firsts += said == "first";
        }
        QCOMPARE(firsts, 1);
    }

private:
    QTemporaryDir m_home;
};

QTEST_GUILESS_MAIN(SingleInstanceTest)
#include "SingleInstanceTest.moc"
