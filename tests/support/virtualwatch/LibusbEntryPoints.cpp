// The libusb-1.0 functions libirecovery calls on Linux (nm -D --undefined-only on the built
// libirecovery-1.0.so lists them; they are not symbol-versioned), answering as one virtual watch.
//
// The library goes into a test copy of the Tools folder as lib/libusb-1.0.so.0. libirecovery's
// RUNPATH is $ORIGIN, so the loader finds it there before the system's libusb, for every tool the
// application starts, with no change to the application or its environment beyond the two
// variables naming the watch. LD_PRELOAD would also work but would have to reach every launch,
// including the KIS companion's own, through the environment; the Tools copy needs nothing.

#include "WatchDevice.h"
#include "WatchIdentity.h"
#include "WatchState.h"

#include <libusb-1.0/libusb.h>

#include <algorithm>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <string>
#include <sys/file.h>
#include <unistd.h>

// libirecovery's event handler registers one hotplug callback on its own context, for arrivals
// and departures of vendor 0x05AC, always returns 0 from it (so it stays registered), and is the
// only thread that uses that context.
struct libusb_context {
    libusb_hotplug_callback_fn callback = nullptr;
    void *userData = nullptr;
    // The device the hotplug callback was last told about.
    libusb_device *announced = nullptr;
};

struct libusb_device {
    unsigned generation;
    uint16_t product;
    uint8_t address;
};

struct libusb_device_handle {
    libusb_device *device;
    vw::Session session;
    int claims[2] = {-1, -1}; // flock'ed claim files of interfaces 0 and 1
};

namespace {

// One device object per arrival, kept for the life of the process: libirecovery hands them to
// threads (_irecv_usb_hotplug_cb) and compares their bus and address after the device has gone.
libusb_device *deviceFor(const vw::State &state)
{
    static std::mutex mutex;
    static std::map<unsigned, libusb_device *> devices;
    const std::lock_guard lock(mutex);
    libusb_device *&device = devices[state.generation()];
    if (!device) {
        device = new libusb_device{state.generation(), vw::productId(state.mode()),
                                   static_cast<uint8_t>(2 + state.generation() % 120)};
    }
    return device;
}

bool live(const vw::State &state, const libusb_device *device)
{
    return state.present() && state.generation() == device->generation;
}

std::string claimFile(unsigned generation, int interface)
{
    return vw::folderPath(
        ("claim-" + std::to_string(generation) + '-' + std::to_string(interface) + ".lock").c_str());
}

// What the hotplug callbacks should hear next, at most one event per call so that a departure
// and the next arrival reach idevicerestore's irecv_event_cb as two events, as with a real bus.
struct HotplugEvent {
    libusb_device *device = nullptr;
    libusb_hotplug_event event{};
};

HotplugEvent nextHotplugEvent(libusb_context *context)
{
    const vw::State state;
    libusb_device *current = state.present() ? deviceFor(state) : nullptr;
    if (context->announced && context->announced != current) {
        HotplugEvent left{context->announced, LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT};
        context->announced = nullptr;
        return left;
    }
    if (current && !context->announced) {
        context->announced = current;
        return {current, LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED};
    }
    return {};
}

// Called without the state's lock held: the callback opens the device from other threads.
void deliver(libusb_context *context, const HotplugEvent &event)
{
    if (event.device && context->callback)
        context->callback(context, event.device, event.event, context->userData);
}

} // namespace

extern "C" {

int libusb_init(libusb_context **context)
{
    *context = new libusb_context;
    return LIBUSB_SUCCESS;
}

void libusb_exit(libusb_context *context)
{
    delete context;
}

// Only the log level, which the tools set from their debug option.
int libusb_set_option(libusb_context *, enum libusb_option, ...)
{
    return LIBUSB_SUCCESS;
}

// Only libirecovery's debug messages print it.
const char *libusb_error_name(int)
{
    return "LIBUSB_ERROR";
}

// libusb_open_with_ecid walks this list for vendor 0x05AC and a recovery, DFU or KIS product ID.
ssize_t libusb_get_device_list(libusb_context *, libusb_device ***list)
{
    auto *devices = new libusb_device *[2] { nullptr, nullptr };
    ssize_t count = 0;
    const vw::State state;
    if (state.present())
        devices[count++] = deviceFor(state);
    *list = devices;
    return count;
}

void libusb_free_device_list(libusb_device **list, int)
{
    delete[] list;
}

int libusb_get_device_descriptor(libusb_device *device, struct libusb_device_descriptor *descriptor)
{
    *descriptor = vw::deviceDescriptor(device->product);
    return LIBUSB_SUCCESS;
}

uint8_t libusb_get_bus_number(libusb_device *)
{
    return 1;
}

// A new address on every arrival, so the location libirecovery keeps (bus << 16 | address)
// tells the departed device from the returned one.
uint8_t libusb_get_device_address(libusb_device *device)
{
    return device->address;
}

int libusb_open(libusb_device *device, libusb_device_handle **handle)
{
    *handle = nullptr;
    const vw::State state;
    if (!live(state, device))
        return LIBUSB_ERROR_NO_DEVICE;
    *handle = new libusb_device_handle{device, vw::Session(device->generation)};
    return LIBUSB_SUCCESS;
}

void libusb_close(libusb_device_handle *handle)
{
    if (!handle)
        return;
    for (int fd : handle->claims) {
        if (fd >= 0)
            ::close(fd); // the kernel drops a closed file's claims; so does the flock
    }
    delete handle;
}

// irecv_load_device_info_from_iboot_string and irecv_copy_nonce_with_tag read these.
int libusb_get_string_descriptor_ascii(libusb_device_handle *handle, uint8_t index, unsigned char *data,
                                       int length)
{
    const vw::State state;
    if (!live(state, handle->device))
        return LIBUSB_ERROR_NO_DEVICE;
    // A KIS watch is never asked (libusb_usb_open_handle_with_descriptor_and_ecid skips it).
    std::string text = index == vw::nonceStringIndex ? vw::nonceString(state) : vw::serialString(state);
    text.resize(std::min<size_t>(text.size(), static_cast<size_t>(length - 1)));
    std::copy(text.begin(), text.end(), data);
    data[text.size()] = 0;
    return static_cast<int>(text.size());
}

// Configuration 1, which irecv_usb_set_configuration then leaves as it is.
int libusb_get_configuration(libusb_device_handle *, int *configuration)
{
    *configuration = 1;
    return LIBUSB_SUCCESS;
}

int libusb_set_configuration(libusb_device_handle *, int)
{
    return LIBUSB_SUCCESS;
}

// irecv_usb_set_interface claims interface 0 (and 1 in recovery modes above 0x1281). As usbfs
// does, a claim fails with LIBUSB_ERROR_BUSY while another open handle, in this process or
// another, holds the interface: the claim is a flock on a file per arrival and interface.
// idevicerestore meets this itself: when the nonce changes after iBSS, get_sep_nonce opens a second
// connection (recovery_client_new) while its DFU client still holds the interface, and retries
// for over a minute before it asks for tickets without the SEP nonce.
int libusb_claim_interface(libusb_device_handle *handle, int interface)
{
    {
        const vw::State state;
        if (!live(state, handle->device))
            return LIBUSB_ERROR_NO_DEVICE;
    }
    if (handle->claims[interface] >= 0)
        return LIBUSB_SUCCESS;
    const int fd =
        ::open(claimFile(handle->device->generation, interface).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0)
        return LIBUSB_ERROR_IO;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        vw::logLine("claim busy " + std::to_string(interface));
        return LIBUSB_ERROR_BUSY;
    }
    handle->claims[interface] = fd;
    return LIBUSB_SUCCESS;
}

int libusb_release_interface(libusb_device_handle *handle, int interface)
{
    if (handle->claims[interface] < 0)
        return LIBUSB_ERROR_NOT_FOUND;
    ::close(handle->claims[interface]);
    handle->claims[interface] = -1;
    return LIBUSB_SUCCESS;
}

// irecv_usb_set_interface sets the alternate setting of the interface it has just claimed.
int libusb_set_interface_alt_setting(libusb_device_handle *handle, int interface, int)
{
    return handle->claims[interface & 1] >= 0 ? LIBUSB_SUCCESS : LIBUSB_ERROR_NOT_FOUND;
}

// irecv_usb_bulk_transfer clears the endpoint after a failed transfer; no endpoint stays halted here.
int libusb_clear_halt(libusb_device_handle *, unsigned char)
{
    return LIBUSB_SUCCESS;
}

int libusb_reset_device(libusb_device_handle *handle)
{
    return handle->session.reset();
}

int libusb_control_transfer(libusb_device_handle *handle, uint8_t requestType, uint8_t request, uint16_t,
                            uint16_t, unsigned char *data, uint16_t length, unsigned int timeout)
{
    return handle->session.control(requestType, request, data, length, timeout);
}

int libusb_bulk_transfer(libusb_device_handle *handle, unsigned char endpoint, unsigned char *data,
                         int length, int *transferred, unsigned int timeout)
{
    return handle->session.bulk(endpoint, data, length, transferred, timeout);
}

// Only the iOS 1 era devices of libirecovery (CPID 0x8900 without ECID) use interrupt endpoints.
int libusb_interrupt_transfer(libusb_device_handle *, unsigned char, unsigned char *, int, int *,
                              unsigned int)
{
    return LIBUSB_ERROR_PIPE;
}

// _irecv_event_handler registers with LIBUSB_HOTPLUG_ENUMERATE, so a watch already on the bus is
// announced at once.
int libusb_hotplug_register_callback(libusb_context *context, int, int, int, int, int,
                                     libusb_hotplug_callback_fn function, void *userData,
                                     libusb_hotplug_callback_handle *handle)
{
    context->callback = function;
    context->userData = userData;
    *handle = 1;
    deliver(context, nextHotplugEvent(context));
    return LIBUSB_SUCCESS;
}

void libusb_hotplug_deregister_callback(libusb_context *context, libusb_hotplug_callback_handle)
{
    context->callback = nullptr;
}

// _irecv_event_handler calls this every 100 ms with a zero timeout: the state is looked at and
// a change of the watch since the last call becomes an event.
int libusb_handle_events_timeout(libusb_context *context, struct timeval *)
{
    deliver(context, nextHotplugEvent(context));
    return LIBUSB_SUCCESS;
}

// Not libusb: what the test's helper (VirtualWatch) calls in its own process to set the watch up
// and look at it. Reading the state lets a due re-enumeration happen even when no tool is running
// to notice it.
void corvalin_virtual_watch_arrive(const char *text)
{
    vw::State().arrive(text);
}

void corvalin_virtual_watch_set(const char *key, const char *value)
{
    vw::State().set(key, value);
}

void corvalin_virtual_watch_settle()
{
    const vw::State settled;
}

} // extern "C"
