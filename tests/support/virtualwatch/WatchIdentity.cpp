#include "WatchIdentity.h"

#include <cstdio>
#include <dlfcn.h>

namespace vw {

namespace {

// The layout of libirecovery's struct irecv_device (include/libirecovery.h).
struct IrecvDevice {
    const char *productType;
    const char *hardwareModel;
    unsigned boardId;
    unsigned chipId;
    const char *displayName;
};
using LookupByProductType = int (*)(const char *, IrecvDevice **);

// Chip and board of the product type, taken from the device table of the libirecovery that loaded
// this library (so they agree with it by construction); the state may override them, e.g. for a
// model the table lacks.
void chipAndBoard(const State &state, unsigned &chip, unsigned &board)
{
    chip = static_cast<unsigned>(state.number("cpid"));
    board = static_cast<unsigned>(state.number("bdid"));
    if (chip != 0)
        return;
    const auto lookup = reinterpret_cast<LookupByProductType>(
        dlsym(RTLD_DEFAULT, "irecv_devices_get_device_by_product_type"));
    IrecvDevice *device = nullptr;
    const std::string product = state.get("product", "Watch6,1");
    if (lookup && lookup(product.c_str(), &device) == 0 && device) {
        chip = device->chipId;
        board = device->boardId;
    }
}

} // namespace

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
    descriptor.iManufacturer = manufacturerStringIndex;
    descriptor.iProduct = productStringIndex;
    descriptor.iSerialNumber = serialStringIndex;
    descriptor.bNumConfigurations = 1;
    return descriptor;
}

// irecv_load_device_info_from_iboot_string parses CPID, CPRV, CPFM, SCEP, BDID, ECID, IBFL and the
// bracketed SRNM and SRTG out of this string; irecovery -q prints them, and
// irecv_devices_get_device_by_client names the watch by CPID and BDID.
std::string serialString(const State &state)
{
    unsigned chip = 0, board = 0;
    chipAndBoard(state, chip, board);
    char text[256];
    std::snprintf(
        text, sizeof text, "CPID:%04X CPRV:%02X CPFM:%02X SCEP:%02X BDID:%02X ECID:%016llX IBFL:%02X", chip,
        static_cast<unsigned>(state.number("cprv", 0x11)), static_cast<unsigned>(state.number("cpfm", 0x03)),
        static_cast<unsigned>(state.number("scep", 0x01)), board,
        static_cast<unsigned long long>(state.number("ecid", 0x1A2B3C4D5E6F)),
        // IBFL bit 2 is IBOOT_FLAG_IMAGE4_AWARE (idevicerestore common.h): an Image4 watch.
        static_cast<unsigned>(state.number("ibfl", 0x3C)));
    std::string serial = text;
    if (state.mode() == Mode::Recovery && !state.get("srnm").empty())
        serial += " SRNM:[" + state.get("srnm") + "]";
    serial += " SRTG:[" + state.get("srtg", "iBoot-8422.100.650") + "]";
    return serial;
}

// irecv_copy_nonce_with_tag reads "NONC:" and "SNON:" as hexadecimal bytes from string index 1.
std::string nonceString(const State &state)
{
    return "NONC:" + state.get("nonce", "A1B2C3D4E5F60718293A4B5C6D7E8F90A1B2C3D4E5F60718293A4B5C6D7E8F90") +
           " SNON:" + state.get("sep_nonce", "0F1E2D3C4B5A69788796A5B4C3D2E1F001122334");
}

std::string environmentValue(const State &state, const std::string &name)
{
    const std::string overridden = state.get("env." + name);
    if (!overridden.empty())
        return overridden;
    if (name == "build-version")
        return "iBoot-8422.100.650";
    if (name == "build-style")
        return "RELEASE";
    // recovery_enter_restore expects boot stage 2 (iBEC); dfu_enter_recovery stage 1 (iBSS).
    if (name == "boot-stage")
        return state.get("stage") == "ibss" ? "1" : "2";
    if (name == "ramdisk-size")
        return "0x10000000";
    return {};
}

std::string stringDescriptor(const State &state, uint8_t index)
{
    // A KIS device shows none: libusb_usb_open_handle_with_descriptor_and_ecid skips them for 0x1881.
    if (state.mode() == Mode::Kis)
        return {};
    switch (index) {
    case nonceStringIndex: return nonceString(state);
    case manufacturerStringIndex: return "Apple Inc.";
    case productStringIndex:
        return state.mode() == Mode::Dfu ? "Apple Mobile Device (DFU Mode)"
                                         : "Apple Mobile Device (Recovery Mode)";
    case serialStringIndex: return serialString(state);
    default: return {};
    }
}

} // namespace vw
