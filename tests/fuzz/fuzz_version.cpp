// Release versions and product types, the two texts the catalogue is ordered by.
#include "FuzzInput.h"

#include "catalog/CatalogOrdering.h"
#include "catalog/SemanticVersion.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = textOf(data, size);
    SemanticVersion::parse(text);
    CatalogOrdering::productSortKey(text);
    return 0;
}
