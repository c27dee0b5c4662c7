#include "ui/FontFamilies.h"

#include <QFontDatabase>
#include <QResource>
#include <QStringList>

namespace {

// The first installed family of a list of candidates, or the empty text.
QString firstInstalled(const QStringList &candidates)
{
    const QStringList installed = QFontDatabase::families();
    for (const QString &family : candidates) {
        if (installed.contains(family, Qt::CaseInsensitive))
            return family;
    }
    return {};
}

// An embedded font's bytes where the executable holds them. Added by its resource path instead,
// the font would be read into memory twice (once by the font database, once for drawing) and kept
// so for the whole session.
QByteArray embeddedFont(const QString &path)
{
    const QResource resource(path);
    if (resource.compressionAlgorithm() != QResource::NoCompression)
        return resource.uncompressedData();
    return QByteArray::fromRawData(reinterpret_cast<const char *>(resource.data()), resource.size());
}

// Faces with full Cyrillic coverage, closest to the platform's system face first.
const QStringList &standardFamilies()
{
    static const QStringList families{QStringLiteral(".AppleSystemUIFont"), QStringLiteral("Inter"),
                                      QStringLiteral("Noto Sans"), QStringLiteral("DejaVu Sans")};
    return families;
}

// Adding a face empties the toolkit's cache of loaded fonts, so every font measured before
// would be loaded a second time: the embedded face is added before the first family is chosen.
void addEmbeddedFaces()
{
    static const int manrope = QFontDatabase::addApplicationFontFromData(
        embeddedFont(QStringLiteral(":/fonts/Manrope-ExtraBold.ttf")));
    Q_UNUSED(manrope)
}

// The platform's rounded face where it is installed under that name; otherwise the embedded
// Manrope, whose bold Cyrillic keeps its shapes (round faces such as Comfortaa draw "т" as "m").
const QStringList &roundedFamilies()
{
    static const QStringList families{QStringLiteral("SF Pro Rounded"), QStringLiteral("Manrope")};
    return families;
}

const QStringList &monospacedFamilies()
{
    static const QStringList families{QStringLiteral("SF Mono"), QStringLiteral("Menlo"),
                                      QStringLiteral("DejaVu Sans Mono"), QStringLiteral("Noto Sans Mono")};
    return families;
}

} // namespace

namespace FontFamilies {

QString of(Theme::FontDesign design)
{
    addEmbeddedFaces();
    switch (design) {
    case Theme::FontDesign::rounded: {
        static const QString rounded = firstInstalled(roundedFamilies());
        if (!rounded.isEmpty())
            return rounded;
        break;
    }
    case Theme::FontDesign::monospaced: {
        static const QString mono = firstInstalled(monospacedFamilies());
        if (!mono.isEmpty())
            return mono;
        return QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
    }
    case Theme::FontDesign::standard: break;
    }
    static const QString standard = firstInstalled(standardFamilies());
    return standard.isEmpty() ? QFontDatabase::systemFont(QFontDatabase::GeneralFont).family() : standard;
}

} // namespace FontFamilies
