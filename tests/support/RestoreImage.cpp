#include "support/RestoreImage.h"

#include "support/TestFiles.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace RestoreImage {
namespace {

struct Component {
    const char *name; // the manifest's key
    const char *tag;  // the four-letter type of its payload
    QString path;     // inside the image
};

QList<Component> components(const Model &model)
{
    const QString device = QString::fromLatin1(model.hardwareModel);
    const QString base = device.left(device.size() - 2); // n157sap -> n157s
    return {
        {"iBSS", "ibss", QStringLiteral("Firmware/dfu/iBSS.%1.RELEASE.im4p").arg(base)},
        {"iBEC", "ibec", QStringLiteral("Firmware/dfu/iBEC.%1.RELEASE.im4p").arg(base)},
        {"RestoreLogo", "logo", QStringLiteral("Firmware/all_flash/applelogo@2x~watch.im4p")},
        {"RestoreRamDisk", "rdsk", QStringLiteral("090-00001-021.dmg")},
        {"RestoreDeviceTree", "dtre", QStringLiteral("Firmware/all_flash/DeviceTree.%1.im4p").arg(device)},
        {"RestoreKernelCache", "krnl", QStringLiteral("kernelcache.release.%1").arg(base)},
        {"OS", "rosi", QStringLiteral("090-00002-021.dmg")},
    };
}

// A short DER length.
QByteArray derLength(qsizetype length)
{
    if (length < 0x80)
        return QByteArray(1, char(length));
    QByteArray bytes;
    for (qsizetype rest = length; rest > 0; rest >>= 8)
        bytes.prepend(char(rest & 0xff));
    return char(0x80 | bytes.size()) + bytes;
}

QByteArray der(char type, const QByteArray &content)
{
    return type + derLength(content.size()) + content;
}

// An IM4P payload: SEQUENCE { "IM4P", tag, description, OCTET STRING }. idevicerestore reads the
// tag as the second string of the sequence (img4_stitch_component); the rest is never looked at.
QByteArray im4p(const char *tag, const char *name)
{
    const QByteArray payload = QByteArray("synthetic ") + name + QByteArray(512, '\0');
    return der(0x30, der(0x16, "IM4P") + der(0x16, tag) + der(0x16, QByteArray("virtual ") + name) +
                         der(0x04, payload));
}

// One component of the manifest: its payload's digest, where it lies in the image, and the flags
// that have the signing request cover it.
QByteArray manifestEntry(const Component &component)
{
    const QByteArray digest =
        QCryptographicHash::hash(im4p(component.tag, component.name), QCryptographicHash::Sha384).toBase64();
    return QStringLiteral("<key>%1</key><dict><key>Digest</key><data>%2</data><key>Info</key><dict>"
                          "<key>Path</key><string>%3</string><key>Personalize</key><true/></dict>"
                          "<key>Trusted</key><true/></dict>\n")
        .arg(QLatin1String(component.name), QLatin1String(digest), component.path)
        .toUtf8();
}

} // namespace

Model series6()
{
    return {"Watch6,1", "n157sap", 0x8301, 0x08};
}

QByteArray buildManifest(const Model &model)
{
    QByteArray manifest;
    for (const Component &component : components(model))
        manifest += manifestEntry(component);
    const QByteArray uniqueBuildId =
        QCryptographicHash::hash(model.productType, QCryptographicHash::Sha1).toBase64();
    return QStringLiteral(R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict><key>BuildIdentities</key><array><dict>
<key>ApBoardID</key><string>0x%1</string><key>ApChipID</key><string>0x%2</string>
<key>ApSecurityDomain</key><string>0x01</string><key>Info</key><dict>
<key>BuildNumber</key><string>21R371</string><key>DeviceClass</key><string>%3</string>
<key>RestoreBehavior</key><string>Erase</string>
<key>Variant</key><string>Customer Erase Install (IPSW)</string></dict>
<key>Manifest</key><dict>
%4</dict><key>UniqueBuildID</key><data>%5</data></dict></array>
<key>ManifestVersion</key><integer>0</integer><key>ProductBuildVersion</key><string>21R371</string>
<key>ProductVersion</key><string>10.0.2</string>
<key>SupportedProductTypes</key><array><string>%6</string></array></dict></plist>
)")
        .arg(QString::number(model.boardId, 16), QString::number(model.chipId, 16),
             QLatin1String(model.hardwareModel), QString::fromUtf8(manifest), QLatin1String(uniqueBuildId),
             QLatin1String(model.productType))
        .toUtf8();
}

Files files(const Model &model)
{
    Files files{{QStringLiteral("BuildManifest.plist"), buildManifest(model)}};
    for (const Component &component : components(model))
        files.append({component.path, im4p(component.tag, component.name)});
    return files;
}

bool writeZip(const QString &path, const Files &files)
{
    QTemporaryDir staging;
    QStringList arguments{QStringLiteral("-q"), QStringLiteral("-X"), QFileInfo(path).absoluteFilePath()};
    for (const auto &[name, bytes] : files) {
        const QString file = staging.filePath(name);
        QDir().mkpath(QFileInfo(file).path());
        if (!writeFile(file, bytes))
            return false;
        arguments << name;
    }
    QProcess zip;
    zip.setWorkingDirectory(staging.path());
    zip.start(QStandardPaths::findExecutable(QStringLiteral("zip")), arguments);
    return zip.waitForFinished() && zip.exitStatus() == QProcess::NormalExit && zip.exitCode() == 0;
}

bool write(const QString &path, const Model &model)
{
    return writeZip(path, files(model));
}

} // namespace RestoreImage
