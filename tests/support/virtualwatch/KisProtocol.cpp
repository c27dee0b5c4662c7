#include "KisProtocol.h"

#include "WatchIdentity.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace vw {

namespace {

#pragma pack(push, 1)
// KIS_device_info: the device information block, then the reply's size and status.
struct KisDeviceInfo {
    KisHeader header;
    uint8_t info[0x300];
    uint32_t replySize;
    uint32_t status;
};
#pragma pack(pop)

// irecv_kis_read_string: at word `wordIndex` of the block, a byte length, type 3, then UTF-16LE.
size_t putKisString(uint8_t *info, size_t wordIndex, const std::string &text)
{
    const size_t offset = wordIndex * 4;
    const size_t bytes = std::min<size_t>(text.size() * 2, 254);
    info[offset] = static_cast<uint8_t>(bytes);
    info[offset + 1] = 3;
    for (size_t i = 0; i < bytes / 2; ++i) {
        info[offset + 2 + 2 * i] = static_cast<uint8_t>(text[i]);
        info[offset + 3 + 2 * i] = 0;
    }
    return wordIndex + (2 + bytes + 3) / 4;
}

template <typename Reply> std::vector<uint8_t> bytesOf(const Reply &reply)
{
    const auto *bytes = reinterpret_cast<const uint8_t *>(&reply);
    return {bytes, bytes + sizeof reply};
}

} // namespace

// irecv_kis_load_device_info: the device descriptor at 0x40 of the block, its strings and the
// nonce string where nonceOffset (at 24) points, as word indexes.
std::vector<uint8_t> kisDeviceInfo(const KisHeader &request, const State &state)
{
    KisDeviceInfo reply{};
    reply.header = request;
    // irecv_kis_send_buffer needs DFU mode. The descriptor's bytes are little-endian, as on the bus.
    libusb_device_descriptor descriptor = deviceDescriptor(productId(Mode::Dfu));
    static_assert(sizeof descriptor == LIBUSB_DT_DEVICE_SIZE);
    size_t word = (0x40 + sizeof descriptor + 3) / 4;
    descriptor.iSerialNumber = static_cast<uint8_t>(word);
    word = putKisString(reply.info, word, serialString(state));
    descriptor.iManufacturer = static_cast<uint8_t>(word);
    word = putKisString(reply.info, word, "Apple Inc.");
    descriptor.iProduct = static_cast<uint8_t>(word);
    word = putKisString(reply.info, word, "Apple Mobile Device (DFU Mode)");
    const uint32_t nonceWord = static_cast<uint32_t>(word);
    putKisString(reply.info, word, nonceString(state));
    std::memcpy(reply.info + 0x40, &descriptor, sizeof descriptor);
    std::memcpy(reply.info + 24, &nonceWord, sizeof nonceWord);
    reply.replySize = sizeof reply.info;
    return bytesOf(reply);
}

std::vector<uint8_t> kisReply(const KisHeader &request)
{
    KisReply reply{};
    reply.header = request;
    reply.size = 4;
    return bytesOf(reply);
}

} // namespace vw
