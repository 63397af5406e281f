// SPDX-License-Identifier: MIT
// libusb as the program uses it: one context, one event thread, hotplug events.
#pragma once

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/linux/bus/libusb_handles.h"
#include "platform/linux/bus/udev_events.h"
#include "platform/linux/usb/device/usb_handle.h"
#include "platform/linux/wake_event.h"

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

    std::unique_ptr<UsbHandle> open(const UsbAddress& address, int& error) override;
    libusb_context* context() override { return context_.get(); }

    /// An empty event each time devices came or went; several changes may make one event.
    std::unique_ptr<UdevEventSource> hotplugEvents();

private:
    explicit LibusbBus(LibusbContext context);

    static int LIBUSB_CALL deviceCameOrWent(libusb_context* context, libusb_device* device,
                                            libusb_hotplug_event event, void* self);
    void wakeListeners();
    void run();

    const LibusbContext context_;
    libusb_hotplug_callback_handle hotplug_ = 0;
    bool hearsOfDevices_ = false;

    std::mutex mutex_; // guards the members up to the blank line
    std::vector<std::weak_ptr<WakeEvent>> listeners_;
    bool stopping_ = false;

    std::thread thread_; // last: it uses everything above
};

} // namespace tavelo
