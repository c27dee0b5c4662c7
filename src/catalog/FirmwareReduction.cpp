#include "catalog/FirmwareReduction.h"

#include "app/records/CacheFileName.h"
#include "catalog/CatalogOrdering.h"
#include "catalog/FirmwareCandidate.h"
#include "catalog/PreferredLink.h"
#include "catalog/SemanticVersion.h"
#include "tools/DeviceTable.h"

#include <optional>

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

// The choice for each product type, made as the candidates arrive: the latest-dated signed
// candidate, else the latest-dated of all. "Latest" is what an ascending, stable sort by release
// date would put last, so among equal dates the later one in the catalogue wins. Keeping only
// these two per model makes the reduction one linear pass.
class CandidateChoice {
public:
    void offer(const FirmwareCandidate &candidate)
    {
        auto it = m_indexes.find(candidate.productType);
        if (it == m_indexes.end()) {
            it = m_indexes.insert(candidate.productType, m_choices.size());
            m_choices.emplace_back();
        }
        Choice &choice = m_choices[*it];
        if (candidate.isSigned && isLatest(candidate, choice.latestSigned))
            choice.latestSigned = candidate;
        if (isLatest(candidate, choice.latest))
            choice.latest = candidate;
    }

    // In the order the product types were first seen, so the result does not depend on hashing.
    QList<FirmwareCandidate> chosen() const
    {
        QList<FirmwareCandidate> result;
        result.reserve(m_choices.size());
        for (const Choice &choice : m_choices)
            result << (choice.latestSigned ? *choice.latestSigned : *choice.latest);
        return result;
    }

private:
    struct Choice {
        std::optional<FirmwareCandidate> latestSigned;
        std::optional<FirmwareCandidate> latest;
    };

    static bool isLatest(const FirmwareCandidate &candidate, const std::optional<FirmwareCandidate> &best)
    {
        return !best || candidate.releasedRank >= best->releasedRank;
    }

    QHash<QString, qsizetype> m_indexes;
    QList<Choice> m_choices;
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

void collectCandidates(const AppleDBFirmware &release, qsizetype releasedRank,
                       const QSet<QString> &allowedHosts, CandidateChoice &candidates)
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
            candidates.offer(FirmwareCandidate{
                productType, release.version, release.build, release.released.value_or(QString()),
                signsProductType(release.signedStatus, productType), source, *url, releasedRank});
        }
    }
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
    // As the link names it; the download manager refuses a name that is not a plain file name.
    firmware.filename = CacheFileName::fromURL(chosen.url);
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
    QList<QString> dates;
    dates.reserve(records.size());
    for (const AppleDBFirmware &release : records)
        dates.append(release.released.value_or(QString()));
    const QList<qsizetype> dateRanks = CatalogOrdering::dateRanks(dates);

    QHash<QString, NewestSigned> newest;
    CandidateChoice candidates;
    for (qsizetype i = 0; i < records.size(); ++i) {
        const AppleDBFirmware &release = records.at(i);
        if (const std::optional<SemanticVersion> version = SemanticVersion::parse(release.version))
            recordNewestSigned(release, *version, newest);
        collectCandidates(release, dateRanks.at(i), allowedHosts, candidates);
    }

    QList<WatchFirmware> firmware;
    for (const FirmwareCandidate &chosen : candidates.chosen())
        firmware << makeFirmware(chosen, names, newest);
    CatalogOrdering::orderByModel(firmware);
    return firmware;
}

} // namespace FirmwareReduction
