#include "WatchDevice.h"

#include <libusb-1.0/libusb.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <unistd.h>

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
// KIS_device_info: the device information block, then the reply's size and status.
struct KisDeviceInfo {
    KisHeader header;
    uint8_t info[0x300];
    uint32_t replySize;
    uint32_t status;
};
#pragma pack(pop)

constexpr uint8_t kisPortalConfig = 0x01;
constexpr uint8_t kisPortalRsm = 0x10;
constexpr uint16_t kisIndexUpload = 0x0D;
constexpr uint16_t kisIndexGetInfo = 0x100;
constexpr uint16_t kisIndexBootImage = 0x103;

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

} // namespace

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

int Session::control(uint8_t requestType, uint8_t request, uint8_t *data, uint16_t length, unsigned timeout)
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
        if (stalls(timeout))
            return LIBUSB_ERROR_TIMEOUT;
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

int Session::bulk(uint8_t endpoint, uint8_t *data, int length, int *transferred, unsigned timeout)
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
            const bool upload = length >= static_cast<int>(sizeof(KisHeader)) &&
                                (data[5] | (data[6] & 3) << 8) == kisIndexUpload;
            if (!upload) {
                if (transferred)
                    *transferred = length;
                return kisRequest(state, data, length);
            }
        } else if (endpoint != 0x04 || state.mode() != Mode::Recovery) {
            return LIBUSB_ERROR_PIPE;
        }
    }
    if (length > 0 && stalls(timeout))
        return LIBUSB_ERROR_TIMEOUT;
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

// A transfer of the upload the "stall" fault names gets no answer until its timeout (libusb then
// reports LIBUSB_ERROR_TIMEOUT), unless the test lifts the fault first.
bool Session::stalls(unsigned timeout)
{
    const long long deadline = nowMs() + (timeout == 0 ? 60000 : timeout);
    for (;;) {
        {
            State state;
            const long long stalled = state.number("fault_stall_upload");
            if (!live(state) || stalled == 0 || stalled != state.number("uploads") + 1)
                return false;
            if (!m_stallLogged) {
                logLine("fault stall");
                m_stallLogged = true;
            }
        }
        if (nowMs() >= deadline)
            return true;
        usleep(50000);
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
    const uint16_t index = static_cast<uint16_t>(header.indexLo | (header.indexHiReplySizeLo & 3) << 8);
    const uint8_t *payload = request + sizeof header;
    const size_t payloadBytes = static_cast<size_t>(length) - sizeof header;

    if (header.portal == kisPortalRsm && index == kisIndexGetInfo) {
        // irecv_kis_load_device_info: the device descriptor at 0x40 of the block, its strings and
        // the nonce string where nonceOffset points (word indexes).
        KisDeviceInfo reply{};
        reply.header = header;
        uint8_t *info = reply.info;
        const uint16_t innerProduct = productId(Mode::Dfu); // irecv_kis_send_buffer needs DFU mode
        uint8_t descriptor[18] = {18,
                                  1,
                                  0x00,
                                  0x02,
                                  0,
                                  0,
                                  0,
                                  64,
                                  0xAC,
                                  0x05,
                                  static_cast<uint8_t>(innerProduct & 0xFF),
                                  static_cast<uint8_t>(innerProduct >> 8),
                                  0x01,
                                  0x00,
                                  0,
                                  0,
                                  0,
                                  1};
        size_t word = (0x40 + sizeof descriptor + 3) / 4;
        descriptor[16] = static_cast<uint8_t>(word); // iSerialNumber
        word = putKisString(info, word, serialString(state));
        descriptor[14] = static_cast<uint8_t>(word); // iManufacturer
        word = putKisString(info, word, "Apple Inc.");
        descriptor[15] = static_cast<uint8_t>(word); // iProduct
        word = putKisString(info, word, "Apple Mobile Device (DFU Mode)");
        const uint32_t nonceWord = static_cast<uint32_t>(word);
        putKisString(info, word, nonceString(state));
        std::memcpy(info + 0x40, descriptor, sizeof descriptor);
        std::memcpy(info + 24, &nonceWord, sizeof nonceWord); // nonceOffset
        reply.replySize = sizeof reply.info;
        const auto *bytes = reinterpret_cast<const uint8_t *>(&reply);
        m_bulkReply.assign(bytes, bytes + sizeof reply);
        logLine("kis device-info");
        return 0;
    }

    KisReply reply{};
    reply.header = header;
    reply.size = 4;
    if (header.portal == kisPortalRsm && index == kisIndexUpload && payloadBytes >= 12) {
        // irecv_kis_send_buffer: address (8 bytes), size (4 bytes), then up to 0x4000 bytes.
        uint32_t size = 0;
        std::memcpy(&size, payload + 8, sizeof size);
        size = static_cast<uint32_t>(std::min<size_t>(size, payloadBytes - 12));
        m_uploading = true;
        appendUpload(payload + 12, size);
        reply.size = size;
    } else if (header.portal == kisPortalRsm && index == kisIndexBootImage) {
        // The boot request after the last chunk: the image (iBSS) runs and the watch comes back
        // in recovery mode, as it does after a DFU upload.
        finishUpload(state, "kis", m_upload.size());
        m_bootAfterReply = state.present();
    } else if (header.portal != kisPortalConfig) {
        return LIBUSB_ERROR_PIPE;
    }
    const auto *bytes = reinterpret_cast<const uint8_t *>(&reply);
    m_bulkReply.assign(bytes, bytes + sizeof reply);
    return 0;
}

} // namespace vw
