// SPDX-License-Identifier: MIT
#include "platform/linux/usb/device/libusb_bus.h"

#include <fcntl.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "platform/linux/file_descriptor.h"

namespace tavelo {
namespace {

struct CloseHandle {
    void operator()(libusb_device_handle* handle) const { libusb_close(handle); }
};

class LibusbHandle final : public UsbHandle {
public:
    LibusbHandle(FileDescriptor node, libusb_device_handle* handle)
        : node_(std::move(node)),
          handle_(handle) {}

    int controlTransfer(const UsbSetupPacket& setup, std::span<std::uint8_t> data,
                        std::chrono::milliseconds patience) override {
        return libusb_control_transfer(handle_.get(), setup.requestType, setup.request, setup.value,
                                       setup.index, data.data(), static_cast<std::uint16_t>(data.size()),
                                       static_cast<unsigned>(patience.count()));
    }
    int detachKernelDriver(std::uint8_t interface) override {
        return libusb_detach_kernel_driver(handle_.get(), interface);
    }
    int attachKernelDriver(std::uint8_t interface) override {
        return libusb_attach_kernel_driver(handle_.get(), interface);
    }
    int claimInterface(std::uint8_t interface) override {
        return libusb_claim_interface(handle_.get(), interface);
    }
    int releaseInterface(std::uint8_t interface) override {
        return libusb_release_interface(handle_.get(), interface);
    }
    libusb_device_handle* native() override { return handle_.get(); }

private:
    const FileDescriptor node_; // first: the handle uses it until it is closed
    const std::unique_ptr<libusb_device_handle, CloseHandle> handle_;
};

int libusbErrorOf(int error) {
    switch (error) {
        case EACCES:
        case EPERM:
            return LIBUSB_ERROR_ACCESS;
        case ENOENT:
        case ENODEV:
        case ENXIO:
            return LIBUSB_ERROR_NO_DEVICE;
        case EBUSY:
            return LIBUSB_ERROR_BUSY;
        default:
            return LIBUSB_ERROR_IO;
    }
}

class HotplugEvents final : public UdevEventSource {
public:
    explicit HotplugEvents(std::shared_ptr<WakeEvent> news) : news_(std::move(news)) {}

    int descriptor() const override { return news_->descriptor(); }

    std::optional<UdevEvent> receive() override {
        if (!news_->isSet()) return std::nullopt;
        news_->clear();
        return UdevEvent();
    }

private:
    const std::shared_ptr<WakeEvent> news_;
};

} // namespace

std::string UsbAddress::path() const {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "/dev/bus/usb/%03u/%03u", unsigned{bus}, unsigned{device});
    return text.data();
}

std::shared_ptr<LibusbBus> LibusbBus::open() {
    libusb_context* context = nullptr;
    if (libusb_init(&context) != LIBUSB_SUCCESS) return nullptr;
    return std::shared_ptr<LibusbBus>(new LibusbBus(LibusbContext(context)));
}

LibusbBus::LibusbBus(LibusbContext context) : context_(std::move(context)) {
    hearsOfDevices_ =
        libusb_has_capability(LIBUSB_CAP_HAS_HOTPLUG) != 0 &&
        libusb_hotplug_register_callback(
            context_.get(), LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED | LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT,
            LIBUSB_HOTPLUG_NO_FLAGS, LIBUSB_HOTPLUG_MATCH_ANY, LIBUSB_HOTPLUG_MATCH_ANY,
            LIBUSB_HOTPLUG_MATCH_ANY, &LibusbBus::deviceCameOrWent, this, &hotplug_) == LIBUSB_SUCCESS;
    thread_ = std::thread([this] { run(); });
}

LibusbBus::~LibusbBus() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    // If the thread is between two waits, the next one ends at once.
    libusb_interrupt_event_handler(context_.get());
    thread_.join();
    if (hearsOfDevices_) libusb_hotplug_deregister_callback(context_.get(), hotplug_);
}

// Opens the node itself, so that libusb never marks the device as gone.  If an alternate setting is chosen
// of a device marked as gone, libusb 1.0.26 unlocks a lock that it has not taken, and aborts the program
// when the handle is closed.  The kernel reports a missing device all the same.
std::unique_ptr<UsbHandle> LibusbBus::open(const UsbAddress& address, int& error) {
    FileDescriptor node(::open(address.path().c_str(), O_RDWR | O_CLOEXEC));
    if (!node.isOpen()) {
        error = libusbErrorOf(errno);
        return nullptr;
    }
    libusb_device_handle* handle = nullptr;
    error = libusb_wrap_sys_device(context_.get(), node.get(), &handle);
    return error == LIBUSB_SUCCESS ? std::make_unique<LibusbHandle>(std::move(node), handle) : nullptr;
}

std::unique_ptr<UdevEventSource> LibusbBus::hotplugEvents() {
    auto news = std::make_shared<WakeEvent>();
    const std::lock_guard lock(mutex_);
    std::erase_if(listeners_, [](const auto& listener) { return listener.expired(); });
    listeners_.push_back(news);
    return std::make_unique<HotplugEvents>(std::move(news));
}

// On the event thread: must neither block nor send a request to a device.
int LibusbBus::deviceCameOrWent(libusb_context* /*context*/, libusb_device* /*device*/,
                                libusb_hotplug_event /*event*/, void* self) {
    static_cast<LibusbBus*>(self)->wakeListeners();
    return 0; // stay registered
}

void LibusbBus::wakeListeners() {
    const std::lock_guard lock(mutex_);
    for (const std::weak_ptr<WakeEvent>& listener : listeners_) {
        if (const auto news = listener.lock()) news->set();
    }
}

void LibusbBus::run() {
    ::pthread_setname_np(::pthread_self(), "usb.events");
    while (true) {
        {
            const std::lock_guard lock(mutex_);
            if (stopping_) return;
        }
        // Every event wakes the wait; the time is only a bound.
        timeval longest{60, 0};
        libusb_handle_events_timeout_completed(context_.get(), &longest, nullptr);
    }
}

} // namespace tavelo
