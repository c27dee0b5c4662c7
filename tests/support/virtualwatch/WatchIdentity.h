#pragma once

// Who the watch says it is: the strings libirecovery reads from its descriptors and the iBoot
// environment idevicerestore asks for.

#include "WatchState.h"

#include <libusb-1.0/libusb.h>

#include <cstdint>
#include <string>

namespace vw {

// The string descriptor indexes libirecovery reads: 1 for the nonces, iSerialNumber for the rest.
constexpr uint8_t nonceStringIndex = 1;
constexpr uint8_t serialStringIndex = 4;

// The device descriptor the watch shows with `product` as its USB product ID.
libusb_device_descriptor deviceDescriptor(uint16_t product);
std::string serialString(const State &state);
std::string nonceString(const State &state);
// What "getenv <name>" answers.
std::string environmentValue(const State &state, const std::string &name);

} // namespace vw
