#pragma once

#include <QString>

// Canonical composition (normalisation form C) in time proportional to the text. Qt's own
// QString::normalized inserts and removes characters in place, one at a time, so a long run of
// combining marks costs time in proportion to its square; a release date is community-edited
// text and may be such a run. Gives exactly what QString::normalized(NormalizationForm_C) gives.
namespace CanonicalComposition {

QString composed(const QString &text);

} // namespace CanonicalComposition
