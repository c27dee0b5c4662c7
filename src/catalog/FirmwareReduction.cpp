#include "catalog/FirmwareReduction.h"

#include "catalog/CatalogOrdering.h"
#include "catalog/FirmwareCandidate.h"
#include "catalog/PreferredLink.h"
#include "catalog/SemanticVersion.h"
#include "tools/DeviceTable.h"

#include <algorithm>

namespace {

const QString watchPrefix = QStringLiteral("Watch");

struct NewestSigned {
    SemanticVersion version;
    QString versionText;
    QString build;
};

bool signsProductType(const std::optional<AppleDBSigned> &status, const QString &productType)
{
    return status && status->signs(productType);
}

// Candidates grouped by product type, with the product types in the order first seen so the
// result does not depend on hashing.
class CandidateTable {
public:
    void append(FirmwareCandidate candidate)
    {
        auto it = m_indexes.find(candidate.productType);
        if (it == m_indexes.end()) {
            it = m_indexes.insert(candidate.productType, m_lists.size());
            m_lists.emplace_back();
        }
        m_lists[*it].append(std::move(candidate));
    }

    QList<QList<FirmwareCandidate>> &lists() { return m_lists; }

private:
    QHash<QString, qsizetype> m_indexes;
    QList<QList<FirmwareCandidate>> m_lists;
};

void recordNewestSigned(const AppleDBFirmware &release, const SemanticVersion &version,
                        QHash<QString, NewestSigned> &newest)
{
    if (!release.deviceMap)
        return;
    for (const QString &productType : *release.deviceMap) {
        if (!productType.startsWith(watchPrefix) || !signsProductType(release.signedStatus, productType))
            continue;
        // Strictly greater than what is recorded, or than 0.0.0 when nothing is: an equal later
        // release never replaces an earlier one, and version 0 is never recorded.
        const auto recorded = newest.constFind(productType);
        const SemanticVersion current = recorded == newest.cend() ? SemanticVersion{} : recorded->version;
        if (version > current)
            newest.insert(productType, NewestSigned{version, release.version, release.build});
    }
}

void collectCandidates(const AppleDBFirmware &release, const QSet<QString> &allowedHosts,
                       CandidateTable &candidates)
{
    if (!release.sources)
        return;
    for (const AppleDBSource &source : *release.sources) {
        if (source.type != u"ipsw" || !source.deviceMap)
            continue;
        const std::optional<QUrl> url = preferredLink(source, allowedHosts);
        if (!url)
            continue;
        for (const QString &productType : *source.deviceMap) {
            if (!productType.startsWith(watchPrefix))
                continue;
            candidates.append(FirmwareCandidate{
                productType, release.version, release.build, release.released.value_or(QString()),
                signsProductType(release.signedStatus, productType), source, *url});
        }
    }
}

// The last segment of the URL's path; a trailing slash does not make it empty.
QString lastPathComponent(const QUrl &url)
{
    const QString path = url.path();
    qsizetype end = path.size();
    while (end > 1 && path.at(end - 1) == u'/')
        --end;
    if (end == 1 && path.startsWith(u'/'))
        return QStringLiteral("/");
    return path.first(end).mid(path.first(end).lastIndexOf(u'/') + 1);
}

WatchFirmware makeFirmware(const FirmwareCandidate &chosen, const QHash<QString, QString> &names,
                           const QHash<QString, NewestSigned> &newest)
{
    WatchFirmware firmware;
    firmware.productType = chosen.productType;
    firmware.deviceName = names.value(chosen.productType, QStringLiteral("Apple Watch"));
    firmware.version = chosen.version;
    firmware.build = chosen.build;
    firmware.released = chosen.released;
    firmware.isCatalogSigned = chosen.isSigned;
    firmware.downloadURL = chosen.url;
    firmware.filename = lastPathComponent(chosen.url);
    if (chosen.source.hashes)
        firmware.sha256 = chosen.source.hashes->value(QStringLiteral("sha2-256"));
    firmware.size = chosen.source.size.value_or(0);
    if (const auto it = newest.constFind(chosen.productType); it != newest.cend()) {
        firmware.currentSignedVersion = it->versionText;
        firmware.currentSignedBuild = it->build;
    }
    return firmware;
}

} // namespace

namespace FirmwareReduction {

QHash<QString, QString> nameTable(const QString &toolOutput)
{
    QHash<QString, QString> names;
    for (const DeviceTable::Row &row : DeviceTable::parse(toolOutput)) {
        if (row.productType.startsWith(watchPrefix))
            names.insert(row.productType, row.name);
    }
    return names;
}

QList<WatchFirmware> buildFirmwareList(const QList<AppleDBFirmware> &records,
                                       const QHash<QString, QString> &names,
                                       const QSet<QString> &allowedHosts)
{
    QHash<QString, NewestSigned> newest;
    CandidateTable candidates;
    for (const AppleDBFirmware &release : records) {
        if (const std::optional<SemanticVersion> version = SemanticVersion::parse(release.version))
            recordNewestSigned(release, *version, newest);
        collectCandidates(release, allowedHosts, candidates);
    }

    QList<WatchFirmware> firmware;
    firmware.reserve(candidates.lists().size());
    for (QList<FirmwareCandidate> &list : candidates.lists()) {
        CatalogOrdering::orderByReleaseDate(list);
        const auto lastSigned =
            std::find_if(list.crbegin(), list.crend(),
                         [](const FirmwareCandidate &candidate) { return candidate.isSigned; });
        firmware << makeFirmware(lastSigned != list.crend() ? *lastSigned : list.constLast(), names, newest);
    }
    CatalogOrdering::orderByModel(firmware);
    return firmware;
}

} // namespace FirmwareReduction
