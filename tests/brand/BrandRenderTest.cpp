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
    void picturesHaveTheirSizeAndCorners()
    {
        std::vector<std::pair<QString, int>> pictures{{QStringLiteral("CorvalinStudio-Owl-1024.png"), 1024}};
        for (const int side : {16, 24, 32, 48, 64, 128, 256, 512})
            pictures.emplace_back(QStringLiteral("hicolor/%1x%1/apps/ru.corvalin.Studio.png").arg(side),
                                  side);
        for (const auto &[file, side] : pictures) {
            const QImage image(QDir(m_output.path()).filePath(file));
            QVERIFY2(image.size() == QSize(side, side), qPrintable(file));
            const bool opaqueCorners = side == 1024;
            const int last = side - 1;
            for (const QPoint corner : {QPoint(0, 0), QPoint(last, 0), QPoint(0, last), QPoint(last, last)})
                QVERIFY2((qAlpha(image.pixel(corner)) == 255) == opaqueCorners, qPrintable(file));
        }
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
