// The USB listing, searched for Recovery, DFU and KIS product IDs.
#include "FuzzInput.h"

#include "device/UsbProductMatch.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString listing = textOf(data, size);
    UsbProductMatch::firstListed(listing, {4642, 4647, 4736, UsbProductMatch::kisProductID});
    UsbProductMatch::listsKIS(listing);
    return 0;
}
