#pragma once

// The one watch's state, shared by every process that loads the virtual watch (each run of
// irecovery or idevicerestore is a new process, and a device poll may run beside a restore).
//
// It lives in a folder named by CORVALIN_VIRTUAL_WATCH:
//   state          key=value lines, replaced whole (written beside, then renamed)
//   state.lock     flock'ed around every read-modify-write of state
//   transfers.log  one line per thing the watch saw (the test reads it)
//   claim-*.lock   flock'ed while a process has an interface claimed
// and the USB view the application reads is kept in CORVALIN_VIRTUAL_WATCH_USB (a sysfs
// devices folder), where the watch's device folder exists while it is on the bus.

#include <cstdint>
#include <map>
#include <string>

namespace vw {

enum class Mode { None, Recovery, Dfu, Kis };

Mode modeFromName(const std::string &name);
const char *modeName(Mode mode);
// The USB product ID the watch shows in `mode` (0 for None).
uint16_t productId(Mode mode);

std::string folderPath(const char *file);

// Appends a line to transfers.log.
void logLine(const std::string &line);

class State {
public:
    // Takes the lock, reads the file and lets a pending arrival happen if its time has come.
    State();
    // Writes back (when changed) and releases the lock.
    ~State();
    State(const State &) = delete;
    State &operator=(const State &) = delete;

    std::string get(const std::string &key, const std::string &fallback = {}) const;
    long long number(const std::string &key, long long fallback = 0) const;
    void set(const std::string &key, const std::string &value);
    void setNumber(const std::string &key, long long value);

    Mode mode() const { return modeFromName(get("mode", "none")); }
    bool present() const { return mode() != Mode::None; }
    // Bumped on every arrival: a handle or device object from an earlier arrival is stale,
    // as a libusb device is once its USB device has gone and come back.
    unsigned generation() const { return static_cast<unsigned>(number("generation")); }

    // The watch drops off the bus. With `next` other than None it re-enumerates in that mode
    // after half a second (unless the "never come back" fault is set); otherwise it stays
    // away.
    void leave(Mode next, const std::string &nextStage = {});
    // The watch comes onto the bus (or, in mode none, leaves it) with exactly the "key=value" lines of
    // `text`, forgetting earlier uploads and faults; only the arrival count goes on.
    void arrive(const std::string &text);

private:
    void read(const std::string &text);
    void settle();
    void writeUsbView();

    int m_lockFd = -1;
    bool m_changed = false;
    std::map<std::string, std::string> m_values;
};

} // namespace vw
