// The restore tool's image information, searched for the watch's product type.
#include "FuzzInput.h"

#include "restore/IpswInfo.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString output = textOf(data, size);
    IpswInfo::listsProductType(output, QStringLiteral("Watch6,1"));
    if (IpswInfo::withoutColourSequences(output).size() > output.size())
        __builtin_trap();
    return 0;
}
