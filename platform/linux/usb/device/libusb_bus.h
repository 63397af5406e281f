// SPDX-License-Identifier: MIT
// libusb as the program uses it: one context, one event thread, hotplug events.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "platform/linux/bus/udev_events.h"
#include "platform/linux/usb/device/usb_handle.h"
#include "platform/linux/wake_event.h"

struct libusb_context;

namespace tavelo {

/// Runs libusb's events on its own thread for as long as it lives, so that transfers started on any thread
/// complete.  Thread-safe.  Must outlive its handles; whoever has one of those keeps the bus too.
class LibusbBus final : public UsbHandleOpener {
public:
    /// Null if libusb finds no USB on this machine.
    static std::shared_ptr<LibusbBus> open();

    ~LibusbBus() override;
    LibusbBus(const LibusbBus&) = delete;
    LibusbBus& operator=(const LibusbBus&) = delete;

    std::unique_ptr<UsbHandle> open(const UsbAddress& address, Error& error) override;

    /// An empty event each time devices came or went; several changes may make one event.
    std::unique_ptr<UdevEventSource> hotplugEvents();

private:
    using Context = std::unique_ptr<libusb_context, void (*)(libusb_context*)>;

    explicit LibusbBus(Context context);

    void wakeListeners();
    void run();

    const Context context_;
    std::optional<int> hotplug_; ///< libusb's handle, if it reports devices that come and go

    std::mutex mutex_; // guards the members up to the blank line
    std::vector<std::weak_ptr<WakeEvent>> listeners_;
    bool stopping_ = false;

    std::thread thread_; // last: it uses everything above
};

} // namespace tavelo
