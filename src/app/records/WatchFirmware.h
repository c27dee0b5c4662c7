#pragma once

#include <QString>
#include <QUrl>
#include <QtGlobal>

#include <optional>

// One full restore image offered for one watch model.
struct WatchFirmware {
    QString productType;
    QString deviceName;
    QString version;
    QString build;
    QString released;
    bool isCatalogSigned = false;
    QUrl downloadURL;
    QString filename;
    QString sha256;
    qint64 size = 0;
    std::optional<QString> currentSignedVersion;
    std::optional<QString> currentSignedBuild;

    // Lists are keyed by the model: one record per product type.
    const QString &id() const { return productType; }

    // Present when the build signed today exists only as an OTA update, not as a full image.
    std::optional<QString> currentNote() const;

    friend bool operator==(const WatchFirmware &, const WatchFirmware &) = default;
};

size_t qHash(const WatchFirmware &firmware, size_t seed = 0) noexcept;
