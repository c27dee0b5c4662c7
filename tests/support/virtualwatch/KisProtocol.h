#pragma once

// The KIS (debug USB) protocol of libirecovery (irecv_kis_request and the structures beside it):
// requests on bulk endpoint 1 (config portal) or 3 (RSM portal), each answered on the same
// endpoint with the IN bit.

#include "WatchState.h"

#include <cstdint>
#include <vector>

namespace vw {

#pragma pack(push, 1)
// libirecovery's KIS_req_header.
struct KisHeader {
    uint16_t sequence;
    uint8_t version;
    uint8_t portal;
    uint8_t argCount;
    uint8_t indexLo;
    uint8_t indexHiReplySizeLo;
    uint8_t replySizeHi;
    uint32_t requestSize;
};
// KIS_generic_reply.
struct KisReply {
    KisHeader header;
    uint32_t size;
    uint32_t status;
};
#pragma pack(pop)

constexpr uint8_t kisPortalRsm = 0x10;
constexpr uint16_t kisIndexUpload = 0x0D;
constexpr uint16_t kisIndexGetInfo = 0x100;
constexpr uint16_t kisIndexBootImage = 0x103;

inline uint16_t kisIndex(const KisHeader &header)
{
    return static_cast<uint16_t>(header.indexLo | (header.indexHiReplySizeLo & 3) << 8);
}

// The answer to KIS_INDEX_GET_INFO that irecv_kis_load_device_info reads.
std::vector<uint8_t> kisDeviceInfo(const KisHeader &request, const State &state);
// KIS_generic_reply: 4 bytes written, status 0.
std::vector<uint8_t> kisReply(const KisHeader &request);

} // namespace vw
