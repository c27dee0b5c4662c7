#pragma once

// What the watch answers on USB, one Session per open libusb handle. Each answer names the
// function of libirecovery (src/libirecovery.c) or idevicerestore (src/dfu.c, src/recovery.c,
// src/idevicerestore.c) whose expectations it meets, so the simulation can be checked against
// the pinned sources.

#include "WatchState.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vw {

class Session {
public:
    explicit Session(unsigned generation) : m_generation(generation) {}

    // libusb_control_transfer and libusb_bulk_transfer: a byte count or a LIBUSB_ERROR_*.
    int control(uint8_t requestType, uint8_t request, uint8_t *data, uint16_t length, unsigned timeout);
    int bulk(uint8_t endpoint, uint8_t *data, int length, int *transferred, unsigned timeout);
    int reset();

private:
    bool live(const State &state) const { return state.present() && state.generation() == m_generation; }
    int command(State &state, const std::string &text);
    void appendUpload(const uint8_t *data, size_t length);
    void finishUpload(State &state, const char *kind, size_t payloadBytes);
    void kisRequest(State &state, const uint8_t *request, int length);

    unsigned m_generation;
    std::vector<uint8_t> m_upload;
    std::string m_controlReply;       // what the next vendor control read returns
    std::vector<uint8_t> m_bulkReply; // what the next bulk read returns (KIS)
    bool m_bootAfterReply = false;    // KIS: the watch boots its image once the host has read the reply
};

} // namespace vw
