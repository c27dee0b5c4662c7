// The output of irecovery -q for a watch in Recovery or DFU.
#include "FuzzInput.h"

#include "device/IdentificationListing.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    IdentificationListing::recoveryWatch(textOf(data, size));
    return 0;
}
