#include "WatchDevice.h"

#include "KisProtocol.h"
#include "WatchIdentity.h"

#include <libusb-1.0/libusb.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace vw {

namespace {

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

// Only the requests the tools send a watch (an Image4 device in recovery or DFU mode, restored with
// a synthetic image) are answered; any other is refused as a stalled pipe.
int Session::control(uint8_t requestType, uint8_t request, uint8_t *data, uint16_t length, unsigned)
{
    State state;
    if (!live(state))
        return LIBUSB_ERROR_NO_DEVICE;
    switch (requestType) {
    case 0x40: // irecv_send_command_raw: the command, NUL included, as a vendor request 0 or 1
        return command(state, std::string(reinterpret_cast<char *>(data),
                                          strnlen(reinterpret_cast<char *>(data), length)));
    case 0xC0: { // irecv_getenv reads the answer to the last getenv here
        const size_t n = std::min<size_t>(m_controlReply.size() + 1, length);
        std::memcpy(data, m_controlReply.c_str(), n);
        m_controlReply.clear();
        return static_cast<int>(n);
    }
    case 0x41: // irecv_send_buffer in recovery mode announces an upload before the bulk data
        m_upload.clear();
        return 0;
    case 0xA1: // irecv_send_buffer in DFU mode reads the state once before an upload, which must be
               // dfuIDLE (2), and the status (bState at [4]) after every block, which must be
               // dfuDNLOAD-IDLE (5). It never finds another, so never sends DFU_CLRSTATUS or DFU_ABORT.
        std::memset(data, 0, length);
        if (request == 5 && length >= 1) { // DFU_GETSTATE
            data[0] = 2;
            return 1;
        }
        if (request == 3 && length >= 6) { // DFU_GETSTATUS
            data[4] = 5;
            return 6;
        }
        return LIBUSB_ERROR_PIPE;
    case 0x21:
        if (request != 1)
            return LIBUSB_ERROR_PIPE;
        if (state.mode() != Mode::Dfu)
            return 0; // the zero-length "DFU_DNLOAD" recovery.c sends after "go" and the kernel cache
        break;
    default: return LIBUSB_ERROR_PIPE;
    }
    // DFU_DNLOAD in DFU mode (irecv_send_buffer): 0x800-byte blocks, the last one with a 16-byte
    // suffix ending in a CRC (libirecovery's framing, not checked here), then a zero-length one
    // (IRECV_SEND_OPT_DFU_NOTIFY_FINISH, the only option idevicerestore's dfu_send_buffer uses),
    // two status reads and a reset.
    if (length > 0) {
        appendUpload(data, length);
        return length;
    }
    finishUpload(state, "dfu", m_upload.size() < 16 ? 0 : m_upload.size() - 16);
    return 0;
}

int Session::bulk(uint8_t endpoint, uint8_t *data, int length, int *transferred, unsigned)
{
    *transferred = 0;
    State state;
    if (!live(state))
        return LIBUSB_ERROR_NO_DEVICE;
    if (endpoint & LIBUSB_ENDPOINT_IN) {
        if (m_bulkReply.empty())
            return LIBUSB_ERROR_TIMEOUT; // irecv_receive: iBoot has nothing to say
        *transferred = std::min<int>(length, static_cast<int>(m_bulkReply.size()));
        std::memcpy(data, m_bulkReply.data(), *transferred);
        m_bulkReply.clear();
        // irecv_kis_config_write32 of KIS_INDEX_BOOT_IMG has its reply: iBSS runs.
        if (std::exchange(m_bootAfterReply, false))
            state.leave(Mode::Recovery, "ibss");
        return 0;
    }
    if (state.mode() == Mode::Kis) {
        *transferred = length;
        kisRequest(state, data, length);
        return 0;
    }
    if (endpoint != 0x04 || state.mode() != Mode::Recovery)
        return LIBUSB_ERROR_PIPE;
    // irecv_send_buffer in recovery mode: bulk OUT on 0x04 in 0x8000-byte packets, the last one
    // shorter. The synthetic components are a few hundred bytes and no multiple of 512, so the
    // zero-length packet that would follow such a multiple never comes.
    *transferred = length;
    appendUpload(data, static_cast<size_t>(length));
    if (length < 0x8000)
        finishUpload(state, "recovery", m_upload.size());
    return 0;
}

// irecv_reset follows only a DFU upload (IRECV_SEND_OPT_DFU_NOTIFY_FINISH): the image boots and the
// watch comes back in recovery mode running iBSS, as dfu_enter_recovery waits for.
int Session::reset()
{
    State state;
    if (!live(state))
        return LIBUSB_ERROR_NOT_FOUND;
    logLine("reset");
    state.leave(Mode::Recovery, "ibss");
    // libusb reports a device that re-enumerated with other descriptors as gone.
    return LIBUSB_ERROR_NOT_FOUND;
}

// Of the commands idevicerestore sends an Image4 watch, "getenv", "go" and "bootx" change what the
// watch answers; the others ("setenv", "saveenv", "setpicture", "bgcolor", "ramdisk",
// "devicetree") are only logged.
int Session::command(State &state, const std::string &text)
{
    logLine("command " + text);
    if (text.rfind("getenv ", 0) == 0) {
        m_controlReply = environmentValue(state, text.substr(7));
    } else if (text == "go") {
        // Sent only after iBEC (recovery_send_ibec, dfu_enter_recovery): iBEC runs; the watch drops off
        // and comes back in recovery mode, now at boot stage 2.
        state.leave(Mode::Recovery, "ibec");
    } else if (text == "bootx") {
        // recovery_send_kernelcache: the watch boots the restore kernel and leaves USB for good; it
        // would come back through usbmuxd in restore mode, which no libusb can stand in for.
        state.leave(Mode::None);
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
    logLine(std::string("upload ") + kind + ' ' + std::to_string(payloadBytes) + ' ' + imageType(m_upload));
    m_upload.clear();
    if (state.number("fault_vanish_after_upload") == count) {
        logLine("fault vanish");
        state.leave(Mode::None);
    }
}

// irecv_kis_request: a request on bulk endpoint 1 (config portal) or 3 (RSM portal), its reply read
// back from the same endpoint with the IN bit. libirecovery sends only the two config writes of
// irecv_kis_init and the three RSM requests below, and reads no reply's size but that of a config
// write, which must be 4.
void Session::kisRequest(State &state, const uint8_t *request, int length)
{
    KisHeader header;
    std::memcpy(&header, request, sizeof header);
    if (header.portal == kisPortalRsm && kisIndex(header) == kisIndexGetInfo) {
        m_bulkReply = kisDeviceInfo(header, state);
        logLine("kis device-info");
        return;
    }
    if (header.portal == kisPortalRsm && kisIndex(header) == kisIndexUpload) {
        // irecv_kis_send_buffer: address (8 bytes), size (4 bytes), then up to 0x4000 bytes.
        const uint8_t *payload = request + sizeof header;
        uint32_t size = 0;
        std::memcpy(&size, payload + 8, sizeof size);
        appendUpload(payload + 12, std::min<size_t>(size, static_cast<size_t>(length) - sizeof header - 12));
    } else if (header.portal == kisPortalRsm && kisIndex(header) == kisIndexBootImage) {
        // The boot request after the last chunk: the image (iBSS) runs and the watch comes back
        // in recovery mode, as it does after a DFU upload.
        finishUpload(state, "kis", m_upload.size());
        m_bootAfterReply = state.present();
    }
    m_bulkReply = kisReply(header);
}

} // namespace vw
