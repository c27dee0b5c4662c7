#include "WatchDevice.h"

#include "KisProtocol.h"
#include "WatchIdentity.h"

#include <libusb-1.0/libusb.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace vw {

namespace {

// The CRC libirecovery's crc32_step computes over a DFU image and its suffix: CRC-32 without the
// final inversion.
uint32_t dfuCrc(const uint8_t *data, size_t length)
{
    uint32_t crc = 0xFFFFFFFF;
    for (size_t i = 0; i < length; ++i) {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320 & (0u - (crc & 1)));
    }
    return crc;
}

// The four-letter type of an Image4 payload ("ibec", "rdsk", ...), so the log says what was sent.
std::string imageType(const std::vector<uint8_t> &bytes)
{
    static const uint8_t marker[] = {'I', 'M', '4', 'P', 0x16, 0x04};
    const auto found = std::search(bytes.begin(), bytes.end(), std::begin(marker), std::end(marker));
    if (found == bytes.end() || bytes.end() - found < 10)
        return "-";
    return std::string(found + 6, found + 10);
}

} // namespace

int Session::control(uint8_t requestType, uint8_t request, uint8_t *data, uint16_t length, unsigned)
{
    {
        State state;
        if (!live(state))
            return LIBUSB_ERROR_NO_DEVICE;
        switch (requestType) {
        case 0x40: // irecv_send_command_raw: the command, NUL included, as a vendor request 0 or 1
            return command(
                state,
                std::string(reinterpret_cast<char *>(data), strnlen(reinterpret_cast<char *>(data), length)),
                request);
        case 0xC0: { // irecv_getenv (and irecv_getret) read the answer to the last getenv here
            const size_t n = std::min<size_t>(m_controlReply.size() + 1, length);
            std::memcpy(data, m_controlReply.c_str(), n);
            m_controlReply.clear();
            return static_cast<int>(n);
        }
        case 0x41: // irecv_send_buffer in recovery mode announces an upload before the bulk data
            m_upload.clear();
            m_uploading = true;
            return 0;
        case 0xA1:
            if (request == 3 && length >= 6) { // DFU_GETSTATUS: irecv_get_status reads bState at [4]
                std::memset(data, 0, 6);
                data[4] = m_dfuState;
                return 6;
            }
            if (request == 5 && length >= 1) { // DFU_GETSTATE: irecv_send_buffer starts from dfuIDLE (2)
                data[0] = m_uploading ? 5 : 2;
                return 1;
            }
            return LIBUSB_ERROR_PIPE;
        case 0x21:
            if (request == 4 || request == 6) { // DFU_CLRSTATUS, DFU_ABORT
                m_upload.clear();
                m_uploading = false;
                m_dfuState = 2;
                return 0;
            }
            if (request != 1)
                return LIBUSB_ERROR_PIPE;
            if (state.mode() != Mode::Dfu)
                return 0; // the zero-length "DFU_DNLOAD" recovery.c sends around go and bootx
            break;
        default: return LIBUSB_ERROR_PIPE;
        }
    }
    // DFU_DNLOAD in DFU mode (irecv_send_buffer): 0x800-byte blocks, the last one with a 16-byte
    // suffix ending in the CRC, each followed by a status read that must say dfuDNLOAD-IDLE (5);
    // then a zero-length one (IRECV_SEND_OPT_DFU_NOTIFY_FINISH), two status reads and a reset.
    if (length > 0) {
        m_uploading = true;
        appendUpload(data, length);
        m_dfuState = 5;
        return length;
    }
    State state;
    if (!live(state))
        return LIBUSB_ERROR_NO_DEVICE;
    if (!m_uploading)
        return 0; // the pseudo ZLP of IRECV_SEND_OPT_DFU_FORCE_ZLP
    const size_t total = m_upload.size();
    bool crcGood = total >= 16;
    if (crcGood) {
        const uint8_t *crc = &m_upload[total - 4];
        const uint32_t sent = crc[0] | crc[1] << 8 | crc[2] << 16 | static_cast<uint32_t>(crc[3]) << 24;
        crcGood = sent == dfuCrc(m_upload.data(), total - 4);
    }
    if (!crcGood)
        logLine("dfu-crc-mismatch");
    state.set("dfu_image", crcGood ? "1" : "");
    finishUpload(state, "dfu", crcGood ? total - 16 : total);
    m_dfuState = 8; // dfuMANIFEST-WAIT-RESET
    return 0;
}

int Session::bulk(uint8_t endpoint, uint8_t *data, int length, int *transferred, unsigned)
{
    if (transferred)
        *transferred = 0;
    if (endpoint & LIBUSB_ENDPOINT_IN) {
        State state;
        if (!live(state))
            return LIBUSB_ERROR_NO_DEVICE;
        if (m_bulkReply.empty())
            return LIBUSB_ERROR_TIMEOUT; // irecv_receive: iBoot has nothing to say
        const int n = std::min<int>(length, static_cast<int>(m_bulkReply.size()));
        std::memcpy(data, m_bulkReply.data(), n);
        m_bulkReply.clear();
        if (transferred)
            *transferred = n;
        if (m_bootAfterReply) { // irecv_kis_config_write32 of KIS_INDEX_BOOT_IMG has its reply: iBSS runs
            m_bootAfterReply = false;
            state.leave(Mode::Recovery, "ibss");
        }
        return 0;
    }
    {
        State state;
        if (!live(state))
            return LIBUSB_ERROR_NO_DEVICE;
        if (state.mode() == Mode::Kis) {
            KisHeader header{};
            if (length >= static_cast<int>(sizeof header))
                std::memcpy(&header, data, sizeof header);
            if (kisIndex(header) != kisIndexUpload) {
                if (transferred)
                    *transferred = length;
                return kisRequest(state, data, length);
            }
        } else if (endpoint != 0x04 || state.mode() != Mode::Recovery) {
            return LIBUSB_ERROR_PIPE;
        }
    }
    State state;
    if (!live(state))
        return LIBUSB_ERROR_NO_DEVICE;
    if (transferred)
        *transferred = length;
    if (state.mode() == Mode::Kis)
        return kisRequest(state, data, length);
    // irecv_send_buffer in recovery mode: bulk OUT on 0x04 in 0x8000-byte packets; a shorter packet
    // ends the upload, and so does the zero-length packet sent after a multiple of 512 bytes.
    if (length == 0 && !m_uploading)
        return 0;
    m_uploading = true;
    appendUpload(data, static_cast<size_t>(length));
    if (length < 0x8000)
        finishUpload(state, "recovery", m_upload.size());
    return 0;
}

int Session::reset()
{
    State state;
    if (!live(state))
        return LIBUSB_ERROR_NOT_FOUND;
    logLine("reset");
    // irecv_reset after a DFU upload: the image boots and the watch comes back in recovery mode
    // running iBSS (dfu_enter_recovery waits for that); without an image it re-enumerates as it was.
    if (state.mode() == Mode::Dfu && !state.get("dfu_image").empty())
        state.leave(Mode::Recovery, "ibss");
    else
        state.leave(state.mode(), state.get("stage", "iboot"));
    // libusb reports a device that re-enumerated with other descriptors as gone.
    return LIBUSB_ERROR_NOT_FOUND;
}

int Session::command(State &state, const std::string &text, uint8_t request)
{
    logLine("command " + text);
    if (text.rfind("getenv ", 0) == 0) {
        m_controlReply = environmentValue(state, text.substr(7));
    } else if (text == "go" && request == 1 && state.number("uploads_here") > 0) {
        // recovery_send_ibec and dfu_enter_recovery: "go" runs the uploaded iBEC; the watch drops off
        // and comes back in recovery mode, now at boot stage 2.
        state.leave(Mode::Recovery, "ibec");
    } else if (text == "bootx") {
        // recovery_send_kernelcache: the watch boots the restore kernel and leaves USB for good; it
        // would come back through usbmuxd in restore mode, which no libusb can stand in for.
        state.leave(Mode::None);
    } else if (text == "reboot" || text == "reset") {
        state.leave(Mode::Recovery, "iboot");
    }
    return static_cast<int>(text.size() + 1);
}

void Session::appendUpload(const uint8_t *data, size_t length)
{
    m_upload.insert(m_upload.end(), data, data + length);
}

void Session::finishUpload(State &state, const char *kind, size_t payloadBytes)
{
    const long long count = state.number("uploads") + 1;
    state.setNumber("uploads", count);
    state.setNumber("uploads_here", state.number("uploads_here") + 1);
    logLine(std::string("upload ") + kind + ' ' + std::to_string(payloadBytes) + ' ' + imageType(m_upload));
    m_upload.clear();
    m_uploading = false;
    if (state.number("fault_vanish_after_upload") == count) {
        logLine("fault vanish");
        state.leave(Mode::None);
    }
}

// The KIS protocol of irecv_kis_request: a request on bulk endpoint 1 (config portal) or 3 (RSM
// portal), its reply read back from the same endpoint with the IN bit.
int Session::kisRequest(State &state, const uint8_t *request, int length)
{
    if (length < static_cast<int>(sizeof(KisHeader)))
        return LIBUSB_ERROR_PIPE;
    KisHeader header;
    std::memcpy(&header, request, sizeof header);
    const uint16_t index = kisIndex(header);
    const uint8_t *payload = request + sizeof header;
    const size_t payloadBytes = static_cast<size_t>(length) - sizeof header;

    uint32_t replySize = 4; // irecv_kis_config_write32 wants 4 bytes written
    if (header.portal == kisPortalRsm && index == kisIndexGetInfo) {
        m_bulkReply = kisDeviceInfo(header, state);
        logLine("kis device-info");
        return 0;
    }
    if (header.portal == kisPortalRsm && index == kisIndexUpload && payloadBytes >= 12) {
        // irecv_kis_send_buffer: address (8 bytes), size (4 bytes), then up to 0x4000 bytes.
        uint32_t size = 0;
        std::memcpy(&size, payload + 8, sizeof size);
        size = static_cast<uint32_t>(std::min<size_t>(size, payloadBytes - 12));
        m_uploading = true;
        appendUpload(payload + 12, size);
        replySize = size;
    } else if (header.portal == kisPortalRsm && index == kisIndexBootImage) {
        // The boot request after the last chunk: the image (iBSS) runs and the watch comes back
        // in recovery mode, as it does after a DFU upload.
        finishUpload(state, "kis", m_upload.size());
        m_bootAfterReply = state.present();
    } else if (header.portal != kisPortalConfig) {
        return LIBUSB_ERROR_PIPE;
    }
    m_bulkReply = kisReply(header, replySize);
    return 0;
}

} // namespace vw
