#pragma once

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QtGlobal>

#include <optional>

// The parts of the AppleDB catalogue the application reads. Plain values: an absent optional
// means the key was missing or JSON null.

struct AppleDBLink {
    QUrl url;
    // The address exactly as the catalogue wrote it. QUrl lower-cases the scheme and the host,
    // but links are accepted only when both are written exactly as expected.
    QString urlText;
    std::optional<bool> preferred;
    std::optional<bool> active;
};

struct AppleDBSource {
    QString type;
    std::optional<QStringList> deviceMap;
    std::optional<QList<AppleDBLink>> links;
    std::optional<QHash<QString, QString>> hashes;
    std::optional<qint64> size;
};

// Signing status of a release: signed for the listed product types, for all, or for none.
class AppleDBSigned {
public:
    enum class Kind { devices, all, none };

    static AppleDBSigned forDevices(QStringList devices) { return {Kind::devices, std::move(devices)}; }
    static AppleDBSigned all() { return {Kind::all, {}}; }
    static AppleDBSigned none() { return {Kind::none, {}}; }

    Kind kind() const { return m_kind; }
    // The product types of `devices`; empty for the other cases.
    const QStringList &devices() const { return m_devices; }

    // Exact, case-sensitive membership; `none` signs nothing. A hash lookup, so asking for
    // every product type of a release costs time in proportion to the release, not its square.
    bool signs(const QString &productType) const
    {
        return m_kind == Kind::all || (m_kind == Kind::devices && m_deviceSet.contains(productType));
    }

    friend bool operator==(const AppleDBSigned &a, const AppleDBSigned &b)
    {
        return a.m_kind == b.m_kind && a.m_devices == b.m_devices;
    }

private:
    AppleDBSigned(Kind kind, QStringList devices)
        : m_kind(kind), m_devices(std::move(devices)), m_deviceSet(m_devices.cbegin(), m_devices.cend())
    {}

    Kind m_kind;
    QStringList m_devices;
    QSet<QString> m_deviceSet;
};

struct AppleDBFirmware {
    QString version;
    QString build;
    std::optional<QString> released;
    std::optional<QStringList> deviceMap;
    std::optional<AppleDBSigned> signedStatus; // the JSON key "signed"
    std::optional<QList<AppleDBSource>> sources;
};
