#pragma once

#include <QString>

// Reading of the restore tool's image information ("--ipsw-info") output.
namespace IpswInfo {

// Removes every terminal colour sequence (escape, "[", digits and semicolons, "m") and nothing
// else: the tool colours its output when it believes it writes to a terminal.
QString withoutColourSequences(const QString &output);

// Whether the first line carrying the label "Supported Product Types:" has the product type as
// one of its space-separated words. Only that first line counts, the label is case-sensitive
// and a word must match exactly, so "Watch6" never matches "Watch6,1" and neither does
// "Watch6,1," with a trailing comma.
bool listsProductType(const QString &output, const QString &productType);

} // namespace IpswInfo
