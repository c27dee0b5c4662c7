#include "WatchState.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vw {

namespace {

// The wall clock, shared by all processes, unlike a monotonic clock's origin.
long long nowMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

const char *stateFolder()
{
    const char *folder = std::getenv("CORVALIN_VIRTUAL_WATCH");
    return folder && *folder ? folder : nullptr;
}

// Whether the environment names a watch folder at all; without one the bus is empty.
bool enabled()
{
    return stateFolder() != nullptr;
}

// The watch's device folder in the sysfs view: bus 1, a port no fake bus of the tests uses.
std::string usbViewFolder()
{
    const char *root = std::getenv("CORVALIN_VIRTUAL_WATCH_USB");
    return root && *root ? std::string(root) + "/1-9" : std::string();
}

bool writeWhole(const std::string &path, const std::string &text)
{
    std::ofstream file(path, std::ios::trunc);
    return static_cast<bool>(file << text);
}

std::string readWhole(const std::string &path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

// Mode's names, in the enum's order.
const char *const modeNames[] = {"none", "recovery", "dfu", "kis"};

Mode modeFromName(const std::string &name)
{
    for (size_t mode = 0; mode < std::size(modeNames); ++mode) {
        if (name == modeNames[mode])
            return static_cast<Mode>(mode);
    }
    return Mode::None;
}

const char *modeName(Mode mode)
{
    return modeNames[static_cast<size_t>(mode)];
}

uint16_t productId(Mode mode)
{
    // IRECV_K_RECOVERY_MODE_2 (what iBoot shows on a watch), IRECV_K_DFU_MODE, KIS_PRODUCT_ID.
    const uint16_t ids[] = {0, 0x1281, 0x1227, 0x1881};
    return ids[static_cast<size_t>(mode)];
}

std::string folderPath(const char *file)
{
    return std::string(stateFolder()) + '/' + file;
}

void logLine(const std::string &line)
{
    if (!enabled())
        return;
    // O_APPEND keeps the lines of concurrent processes whole.
    const int fd =
        ::open(folderPath("transfers.log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0)
        return;
    const std::string text = line + '\n';
    [[maybe_unused]] const ssize_t written = ::write(fd, text.data(), text.size());
    ::close(fd);
}

State::State()
{
    if (!enabled())
        return; // no watch: an empty bus
    m_lockFd = ::open(folderPath("state.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (m_lockFd >= 0) {
        while (::flock(m_lockFd, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    read(readWhole(folderPath("state")));
    settle();
}

void State::read(const std::string &text)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const size_t equals = line.find('=');
        if (equals != std::string::npos)
            m_values[line.substr(0, equals)] = line.substr(equals + 1);
    }
}

State::~State()
{
    if (m_changed && enabled()) {
        std::string text;
        for (const auto &[key, value] : m_values)
            text += key + '=' + value + '\n';
        const std::string temporary = folderPath("state.new");
        if (writeWhole(temporary, text))
            std::rename(temporary.c_str(), folderPath("state").c_str());
    }
    if (m_lockFd >= 0)
        ::close(m_lockFd); // releases the flock
}

std::string State::get(const std::string &key, const std::string &fallback) const
{
    const auto found = m_values.find(key);
    return found == m_values.end() || found->second.empty() ? fallback : found->second;
}

long long State::number(const std::string &key, long long fallback) const
{
    const std::string text = get(key);
    return text.empty() ? fallback : std::strtoll(text.c_str(), nullptr, 0);
}

void State::set(const std::string &key, const std::string &value)
{
    m_values[key] = value;
    m_changed = true;
}

void State::setNumber(const std::string &key, long long value)
{
    set(key, std::to_string(value));
}

void State::leave(Mode next, const std::string &nextStage)
{
    set("mode", "none");
    if (next != Mode::None && number("fault_no_return") != 0) {
        logLine("fault no-return");
        next = Mode::None;
    }
    set("next_mode", next == Mode::None ? "" : modeName(next));
    set("next_stage", nextStage);
    setNumber("arrive_at", nowMs() + 500);
    logLine("leave");
    writeUsbView();
}

void State::arrive(const std::string &text)
{
    const long long generation = number("generation");
    m_values.clear();
    read(text);
    setNumber("generation", generation + 1);
    set("stage", "iboot");
    logLine(std::string("arrive ") + modeName(mode()) + " iboot");
    writeUsbView();
}

void State::settle()
{
    const Mode next = modeFromName(get("next_mode", "none"));
    if (next == Mode::None || nowMs() < number("arrive_at"))
        return;
    set("mode", modeName(next));
    set("next_mode", "");
    setNumber("generation", number("generation") + 1);
    const std::string stage = get("next_stage", "iboot");
    set("stage", stage);
    // A new iBSS may come up with a new ApNonce, so idevicerestore has to ask for tickets again.
    if (stage == "ibss" && !get("nonce_after_ibss").empty()) {
        set("nonce", get("nonce_after_ibss"));
        set("nonce_after_ibss", "");
    }
    logLine(std::string("arrive ") + modeName(next) + ' ' + stage);
    writeUsbView();
}

void State::writeUsbView()
{
    const std::string folder = usbViewFolder();
    if (folder.empty())
        return;
    const uint16_t product = productId(mode());
    if (product == 0) {
        ::unlink((folder + "/idProduct").c_str());
        ::rmdir(folder.c_str());
        return;
    }
    ::mkdir(folder.c_str(), 0755);
    char text[8];
    std::snprintf(text, sizeof text, "%04x\n", product);
    writeWhole(folder + "/idProduct", text); // all the device monitor reads
}

} // namespace vw
