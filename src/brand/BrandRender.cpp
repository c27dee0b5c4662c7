// Build-time tool: turns the owl drawing into every picture the application and its packages
// ship, so that only the SVG is kept in the repository.
//
//   corvalin-brand-render <drawing.svg> <output folder> <icon name>
//
// writes into the output folder
//   CorvalinStudio-Owl-1024.png            the brand picture: the tile alone, edge to edge
//   hicolor/<n>x<n>/apps/<icon name>.png   the desktop icon at the usual sizes
//   CorvalinStudio.icns                    the macOS application icon

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>
#include <QSvgRenderer>
#include <QtEndian>

#include <cstdio>
#include <optional>

namespace {

// The element whose bounds are the visible tile; everything outside it is margin.
const QString tileElement = QStringLiteral("tile");

QImage canvas(int side)
{
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

QImage renderIcon(QSvgRenderer &drawing, int side)
{
    QImage image = canvas(side);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    drawing.render(&painter, QRectF(0, 0, side, side));
    painter.end();
    return image;
}

// The brand mark is clipped by whoever shows it, so it must have no margin and no transparent
// corners: the tile loses its rounding and the drawing is rendered with the tile as its view.
std::optional<QImage> renderBrandPicture(const QByteArray &svg, int side)
{
    static const QRegularExpression tileTag(QStringLiteral(R"(<rect\b[^>]*\bid="tile"[^>]*>)"));
    static const QRegularExpression rounding(QStringLiteral(R"(\s+r[xy]="[^"]*")"));
    QString text = QString::fromUtf8(svg);
    const QRegularExpressionMatch tag = tileTag.match(text);
    if (!tag.hasMatch())
        return std::nullopt;
    text.replace(tag.capturedStart(), tag.capturedLength(), tag.captured().remove(rounding));

    QSvgRenderer square(text.toUtf8());
    square.setViewBox(square.boundsOnElement(tileElement));
    return renderIcon(square, side);
}

QByteArray png(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

void appendBigEndian(QByteArray &bytes, quint32 value)
{
    const quint32 big = qToBigEndian(value);
    bytes.append(reinterpret_cast<const char *>(&big), sizeof big);
}

// An .icns file is a list of (four-letter type, big-endian length, data) entries after a
// header of the same shape; every type used here holds a PNG of the given pixel size.
QByteArray icns(QSvgRenderer &drawing)
{
    struct Entry {
        const char *type;
        int side;
    };
    constexpr Entry entries[] = {{"icp4", 16},  {"icp5", 32},  {"ic11", 32},  {"icp6", 64},
                                 {"ic12", 64},  {"ic07", 128}, {"ic08", 256}, {"ic13", 256},
                                 {"ic09", 512}, {"ic14", 512}, {"ic10", 1024}};
    QByteArray body;
    for (const Entry &entry : entries) {
        const QByteArray data = png(renderIcon(drawing, entry.side));
        body.append(entry.type, 4);
        appendBigEndian(body, quint32(data.size() + 8));
        body.append(data);
    }
    QByteArray file("icns", 4);
    appendBigEndian(file, quint32(body.size() + 8));
    return file + body;
}

bool write(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s <drawing.svg> <output folder> <icon name>\n", argv[0]);
        return 2;
    }
    QFile source(QString::fromLocal8Bit(argv[1]));
    const QByteArray svg = source.open(QIODevice::ReadOnly) ? source.readAll() : QByteArray();
    QSvgRenderer drawing(svg);
    const std::optional<QImage> brand = renderBrandPicture(svg, 1024);
    if (!drawing.isValid() || !drawing.elementExists(tileElement) || !brand) {
        std::fprintf(stderr, "%s: not an SVG drawing with a <rect id=\"tile\">\n", argv[1]);
        return 1;
    }
    const QDir output(QString::fromLocal8Bit(argv[2]));
    const QString iconName = QString::fromLocal8Bit(argv[3]);

    bool written = write(output.filePath(QStringLiteral("CorvalinStudio-Owl-1024.png")), png(*brand));
    for (const int side : {16, 24, 32, 48, 64, 128, 256, 512}) {
        const QString path =
            output.filePath(QStringLiteral("hicolor/%1x%1/apps/%2.png").arg(side).arg(iconName));
        written = write(path, png(renderIcon(drawing, side))) && written;
    }
    written = write(output.filePath(QStringLiteral("CorvalinStudio.icns")), icns(drawing)) && written;
    if (!written) {
        std::fprintf(stderr, "could not write the pictures into %s\n", argv[2]);
        return 1;
    }
    return 0;
}
