#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <utility>

// Restore images made up by the tests, with no Apple data in them: a BuildManifest with the
// erase identity of one model and small stand-ins for the components idevicerestore looks up,
// personalises and sends, in a zip as the tool reads it.
namespace RestoreImage {

// One watch model as the tools' device table lists it.
struct Model {
    QByteArray productType;   // "Watch6,1"
    QByteArray hardwareModel; // "n157sap", the identity's DeviceClass
    quint32 chipId = 0;
    quint32 boardId = 0;
};

// The Series 6 (40 mm) of the libirecovery device table.
Model series6();

// The files of a zip, by name.
using Files = QList<std::pair<QString, QByteArray>>;

// The BuildManifest of watchOS 10.0.2 (21R371) for the model: one "Customer Erase Install
// (IPSW)" identity whose components are the ones files() holds.
QByteArray buildManifest(const Model &model);
// The manifest and every component it names.
Files files(const Model &model);
// Writes a zip of `files` at `path` with the system's zip tool (Debian package zip).
bool writeZip(const QString &path, const Files &files);
// Writes the image of the model at `path`.
bool write(const QString &path, const Model &model);

} // namespace RestoreImage
