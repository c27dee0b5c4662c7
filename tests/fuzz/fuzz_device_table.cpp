// The output of irecovery --devices, as the catalogue's name table reads it.
#include "FuzzInput.h"

#include "catalog/FirmwareReduction.h"
#include "tools/DeviceTable.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString output = textOf(data, size);
    for (const DeviceTable::Row &row : DeviceTable::parse(output)) {
        if (row.productType.isEmpty())
            __builtin_trap();
    }
    FirmwareReduction::nameTable(output);
    return 0;
}
