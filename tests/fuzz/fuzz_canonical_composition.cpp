// Canonical composition of our own against Qt's, on texts short enough for Qt's to be quick.
#include "FuzzInput.h"

#include "catalog/CanonicalComposition.h"
#include "catalog/CatalogOrdering.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > 512)
        return 0;
    const QString text = textOf(data, size);
    if (CanonicalComposition::composed(text) != text.normalized(QString::NormalizationForm_C))
        __builtin_trap();
    const QStringList dates = text.split(u'|');
    if (CatalogOrdering::dateRanks(dates).size() != dates.size())
        __builtin_trap();
    return 0;
}
