#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

constexpr int waitMs = 10000;

// One copy of the probe, started with a private home.
class Copy {
public:
    Copy(const QString &home, const QStringList &arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), home);
        environment.remove(QStringLiteral("XDG_DATA_HOME"));
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral(CORVALIN_PROBE), arguments);
    }
    ~Copy()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished();
        }
    }
    Copy(const Copy &) = delete;
    Copy &operator=(const Copy &) = delete;

    QProcess &process() { return m_process; }

    // The next line the copy prints, or an empty one if it prints none in time.
    QByteArray line()
    {
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(waitMs))
                return {};
        }
        return m_process.readLine().trimmed();
    }

private:
    QProcess m_process;
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
            QVERIFY(later.process().waitForFinished(waitMs));
            QCOMPARE(later.line(), QByteArray("handed over"));
            QCOMPARE(later.process().exitCode(), 0);
            QCOMPARE(first.line(), "asked=" + file.toUtf8().toPercentEncoding());
        }
        QCOMPARE(first.process().state(), QProcess::Running);

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
            crashed.process().kill();
            QVERIFY(crashed.process().waitForFinished(waitMs));
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
