#include "catalog/PreferredLink.h"

#include "catalog/CatalogOrdering.h"

namespace {

const QString httpsScheme = QStringLiteral("https");

// The scheme is the text before the first ":" when no "/", "?" or "#" comes earlier.
QStringView schemeAsWritten(QStringView urlText)
{
    const qsizetype colon = urlText.indexOf(u':');
    if (colon <= 0)
        return {};
    for (const QChar c : urlText.first(colon)) {
        if (c == u'/' || c == u'?' || c == u'#')
            return {};
    }
    return urlText.first(colon);
}

bool isUsable(const AppleDBLink &link, const QSet<QString> &allowedHosts)
{
    // A reference Qt cannot use (a port past 65535, say) could not be downloaded from anyway.
    return link.active.value_or(true) && schemeAsWritten(link.urlText) == httpsScheme &&
           allowedHosts.contains(hostAsWritten(link.urlText)) && link.url.isValid();
}

} // namespace

QString hostAsWritten(QStringView urlText)
{
    const QStringView scheme = schemeAsWritten(urlText);
    QStringView rest = scheme.isEmpty() ? urlText : urlText.sliced(scheme.size() + 1);
    if (!rest.startsWith(u"//"))
        return {};
    rest = rest.sliced(2);
    qsizetype end = 0;
    while (end < rest.size() && rest[end] != u'/' && rest[end] != u'?' && rest[end] != u'#')
        ++end;
    QStringView authority = rest.first(end);
    if (const qsizetype at = authority.lastIndexOf(u'@'); at >= 0)
        authority = authority.sliced(at + 1);
    if (authority.startsWith(u'[')) {
        const qsizetype close = authority.indexOf(u']');
        return close < 0 ? authority.toString() : authority.first(close + 1).toString();
    }
    const qsizetype colon = authority.indexOf(u':');
    return (colon < 0 ? authority : authority.first(colon)).toString();
}

std::optional<QUrl> preferredLink(const AppleDBSource &source, const QSet<QString> &allowedHosts)
{
    if (!source.links)
        return std::nullopt;
    QList<AppleDBLink> usable;
    for (const AppleDBLink &link : *source.links) {
        if (isUsable(link, allowedHosts))
            usable << link;
    }
    if (usable.isEmpty())
        return std::nullopt;
    CatalogOrdering::orderByLinkPreference(usable);
    return usable.constFirst().url;
}
