#include <QDir>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

// Runs the build-time renderer on the real owl drawing and checks what the application, the
// desktop and macOS get from it.
class BrandRenderTest final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_output.isValid());
        const int status = render(QStringLiteral(CORVALIN_BRAND_DRAWING), m_output.path());
        QCOMPARE(status, 0);
    }

    // The sidebar clips the picture itself, so a transparent corner would show as a notch;
    // desktop icons instead keep the drawing's rounded, transparent corners.
    void picturesHaveTheirSizeAndCorners_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("side");
        QTest::addColumn<bool>("opaqueCorners");
        QTest::newRow("brand picture") << QStringLiteral("CorvalinStudio-Owl-1024.png") << 1024 << true;
        for (const int side : {16, 24, 32, 48, 64, 128, 256, 512}) {
            const QString file = QStringLiteral("hicolor/%1x%1/apps/ru.corvalin.Studio.png").arg(side);
            QTest::newRow(qPrintable(file)) << file << side << false;
        }
    }

    void picturesHaveTheirSizeAndCorners()
    {
        QFETCH(QString, file);
        QFETCH(int, side);
        QFETCH(bool, opaqueCorners);
        const QImage image(QDir(m_output.path()).filePath(file));
        QCOMPARE(image.size(), QSize(side, side));
        const int last = side - 1;
        for (const QPoint corner : {QPoint(0, 0), QPoint(last, 0), QPoint(0, last), QPoint(last, last)})
            QCOMPARE(qAlpha(image.pixel(corner)) == 255, opaqueCorners);
    }

    // An .icns file: "icns", its length, then (type, length, PNG) entries that fill it exactly.
    void macIconHoldsEveryResolution()
    {
        QFile file(QDir(m_output.path()).filePath(QStringLiteral("CorvalinStudio.icns")));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        QCOMPARE(bytes.left(4), QByteArray("icns"));
        QCOMPARE(qFromBigEndian<quint32>(bytes.constData() + 4), quint32(bytes.size()));
        QMap<QByteArray, int> sides;
        for (qsizetype at = 8; at < bytes.size();) {
            const quint32 length = qFromBigEndian<quint32>(bytes.constData() + at + 4);
            QVERIFY(length > 8 && at + length <= quint32(bytes.size()));
            const QImage image = QImage::fromData(bytes.mid(at + 8, length - 8), "PNG");
            sides.insert(bytes.mid(at, 4), image.width());
            at += length;
        }
        const QMap<QByteArray, int> expected{{"icp4", 16},  {"icp5", 32},  {"ic11", 32},  {"icp6", 64},
                                             {"ic12", 64},  {"ic07", 128}, {"ic08", 256}, {"ic13", 256},
                                             {"ic09", 512}, {"ic14", 512}, {"ic10", 1024}};
        QCOMPARE(sides, expected);
    }

private:
    static int render(const QString &drawing, const QString &output)
    {
        QProcess tool;
        tool.start(QStringLiteral(CORVALIN_BRAND_RENDER),
                   {drawing, output, QStringLiteral("ru.corvalin.Studio")});
        if (!tool.waitForFinished(60000))
            return -1;
        return tool.exitStatus() == QProcess::NormalExit ? tool.exitCode() : -1;
    }

    QTemporaryDir m_output;
};

QTEST_GUILESS_MAIN(BrandRenderTest)
#include "BrandRenderTest.moc"
