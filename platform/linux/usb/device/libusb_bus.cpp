// SPDX-License-Identifier: MIT
#include "platform/linux/usb/device/libusb_bus.h"

#include <libusb.h>
#include <pthread.h>

#include <utility>

#include "platform/linux/usb/device/libusb_handle.h"

namespace tavelo {
namespace {

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

std::shared_ptr<LibusbBus> LibusbBus::open() {
    libusb_context* context = nullptr;
    if (libusb_init(&context) != LIBUSB_SUCCESS) return nullptr;
    return std::shared_ptr<LibusbBus>(new LibusbBus(Context(context, libusb_exit)));
}

LibusbBus::LibusbBus(Context context) : context_(std::move(context)) {
    // On the event thread: must neither block nor send a request to a device.
    const auto deviceCameOrWent = [](libusb_context*, libusb_device*, libusb_hotplug_event, void* self) {
        static_cast<LibusbBus*>(self)->wakeListeners();
        return 0; // stay registered
    };
    int hotplug = 0;
    if (libusb_has_capability(LIBUSB_CAP_HAS_HOTPLUG) != 0 &&
        libusb_hotplug_register_callback(
            context_.get(), LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED | LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT,
            LIBUSB_HOTPLUG_NO_FLAGS, LIBUSB_HOTPLUG_MATCH_ANY, LIBUSB_HOTPLUG_MATCH_ANY,
            LIBUSB_HOTPLUG_MATCH_ANY, deviceCameOrWent, this, &hotplug) == LIBUSB_SUCCESS)
        hotplug_ = hotplug;
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
    if (hotplug_) libusb_hotplug_deregister_callback(context_.get(), *hotplug_);
}

std::unique_ptr<UsbHandle> LibusbBus::open(const UsbAddress& address, Error& error) {
    return openLibusbHandle(context_.get(), address, error);
}

std::unique_ptr<UdevEventSource> LibusbBus::hotplugEvents() {
    auto news = std::make_shared<WakeEvent>();
    const std::lock_guard lock(mutex_);
    std::erase_if(listeners_, [](const auto& listener) { return listener.expired(); });
    listeners_.push_back(news);
    return std::make_unique<HotplugEvents>(std::move(news));
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
