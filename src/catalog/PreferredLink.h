#pragma once

#include "catalog/AppleDBRecords.h"

#include <QSet>
#include <QString>
#include <QUrl>

#include <optional>

// The host component of a URL exactly as written: without user information or port, with no
// case folding and no trailing-dot removal; empty when the text has no authority.
QString hostAsWritten(QStringView urlText);

// The link to download a source from: among its links that are not marked inactive, use
// "https" (exactly, lower case) and name an allowed host by exact text, the first preferred
// one, else the first one. Nothing when no link qualifies.
std::optional<QUrl> preferredLink(const AppleDBSource &source, const QSet<QString> &allowedHosts);
