#pragma once

// Who the watch says it is: the strings libirecovery reads from its descriptors and the iBoot
// environment idevicerestore asks for.

#include "WatchState.h"

#include <libusb-1.0/libusb.h>

#include <cstdint>
#include <string>

namespace vw {

// The string descriptor indexes of the device descriptor; index 1 carries the nonces.
constexpr uint8_t nonceStringIndex = 1;
constexpr uint8_t manufacturerStringIndex = 2;
constexpr uint8_t productStringIndex = 3;
constexpr uint8_t serialStringIndex = 4;

// The device descriptor the watch shows with `product` as its USB product ID.
libusb_device_descriptor deviceDescriptor(uint16_t product);
std::string serialString(const State &state);
std::string nonceString(const State &state);
// The string descriptor `index` as the watch shows it in its current mode, or empty when it has
// none.
std::string stringDescriptor(const State &state, uint8_t index);
// What "getenv <name>" answers.
std::string environmentValue(const State &state, const std::string &name);

} // namespace vw
