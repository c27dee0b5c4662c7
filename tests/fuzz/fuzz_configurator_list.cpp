// Apple Configurator's JSON device listing.
#include "FuzzInput.h"

#include "device/ConfiguratorDeviceList.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    ConfiguratorDeviceList::firstWatch(textOf(data, size));
    return 0;
}
