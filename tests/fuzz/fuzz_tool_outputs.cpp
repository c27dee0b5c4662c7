// What the tools print, read by every parser of a tool's output: irecovery's identification and
// device table, the USB listing, Apple Configurator's JSON list, idevicerestore's image
// information and the checksum tool's digest.
#include "FuzzInput.h"

#include "catalog/FirmwareReduction.h"
#include "device/ConfiguratorDeviceList.h"
#include "device/UsbProductMatch.h"
#include "device/identity/IdentificationListing.h"
#include "download/ChecksumTool.h"
#include "restore/IpswInfo.h"
#include "tools/DeviceTable.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString output = textOf(data, size);
    IdentificationListing::recoveryWatch(output);
    for (const DeviceTable::Row &row : DeviceTable::parse(output)) {
        if (row.productType.isEmpty())
            __builtin_trap();
    }
    FirmwareReduction::nameTable(output);
    UsbProductMatch::firstListed(output, {4642, 4647, 4736, UsbProductMatch::kisProductID});
    UsbProductMatch::listsKIS(output);
    ConfiguratorDeviceList::firstWatch(output);
    IpswInfo::listsProductType(output, QStringLiteral("Watch6,1"));
    if (IpswInfo::withoutColourSequences(output).size() > output.size())
        __builtin_trap();
    const QString digest = ChecksumTool::firstPiece(output);
    if (digest.contains(u' '))
        __builtin_trap();
    ChecksumTool::accepts(QStringLiteral("AB12"), digest);
    return 0;
}
