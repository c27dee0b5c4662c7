#include "WatchIdentity.h"

#include <cstdio>

namespace vw {

libusb_device_descriptor deviceDescriptor(uint16_t product)
{
    libusb_device_descriptor descriptor{};
    descriptor.bLength = LIBUSB_DT_DEVICE_SIZE;
    descriptor.bDescriptorType = LIBUSB_DT_DEVICE;
    descriptor.bcdUSB = 0x0200;
    descriptor.bMaxPacketSize0 = 64;
    descriptor.idVendor = 0x05AC;
    descriptor.idProduct = product;
    descriptor.bcdDevice = 0x0001;
    descriptor.iSerialNumber = serialStringIndex;
    descriptor.bNumConfigurations = 1;
    return descriptor;
}

// irecv_load_device_info_from_iboot_string parses CPID, BDID, ECID and IBFL out of this string (and
// CPRV, CPFM, SCEP and SRTG, which nothing here reads); irecovery -q prints them, and
// irecv_devices_get_device_by_client names the watch by CPID and BDID.
std::string serialString(const State &state)
{
    char text[256];
    // IBFL bit 2 is IBOOT_FLAG_IMAGE4_AWARE (idevicerestore common.h): an Image4 watch.
    std::snprintf(
        text, sizeof text,
        "CPID:%04X CPRV:11 CPFM:03 SCEP:01 BDID:%02X ECID:%016llX IBFL:3C SRTG:[iBoot-8422.100.650]",
        static_cast<unsigned>(state.number("cpid")), static_cast<unsigned>(state.number("bdid")),
        static_cast<unsigned long long>(state.number("ecid")));
    return text;
}

// irecv_copy_nonce_with_tag reads "NONC:" and "SNON:" as hexadecimal bytes from string index 1.
std::string nonceString(const State &state)
{
    return "NONC:" + state.get("nonce", "A1B2C3D4E5F60718293A4B5C6D7E8F90A1B2C3D4E5F60718293A4B5C6D7E8F90") +
           " SNON:0F1E2D3C4B5A69788796A5B4C3D2E1F001122334";
}

// Of the variables idevicerestore asks an Image4 watch for, only the boot stage decides anything:
// recovery_enter_restore expects stage 2 (iBEC), dfu_enter_recovery stage 1 (iBSS). The others
// (build-version, build-style, radio-error, ramdisk-size) are only printed, empty as "(unknown)".
std::string environmentValue(const State &state, const std::string &name)
{
    if (name == "boot-stage")
        return state.get("stage") == "ibss" ? "1" : "2";
    return {};
}

} // namespace vw
