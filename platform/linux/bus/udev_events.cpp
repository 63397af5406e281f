// SPDX-License-Identifier: MIT
#include "platform/linux/bus/udev_events.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/linux/bus/udev_handles.h"

namespace tavelo {

namespace {

std::string textOf(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

class UdevEvents final : public UdevEventSource {
public:
    UdevEvents(UdevContext context, UdevMonitorHandle monitor)
        : context_(std::move(context)),
          monitor_(std::move(monitor)) {}

    int descriptor() const override { return udev_monitor_get_fd(monitor_.get()); }

    std::optional<UdevEvent> receive() override {
        errno = 0;
        const UdevDeviceHandle device(udev_monitor_receive_device(monitor_.get()));
        // The kernel drops events that are not read in time, and reports it once.
        if (!device) return errno == ENOBUFS ? std::optional(UdevEvent()) : std::nullopt;
        return UdevEvent{
            textOf(udev_device_get_action(device.get())), textOf(udev_device_get_syspath(device.get())),
            textOf(udev_device_get_sysname(device.get())), textOf(udev_device_get_devnode(device.get()))};
    }

private:
    UdevContext context_;
    UdevMonitorHandle monitor_;
};

} // namespace

std::unique_ptr<UdevEventSource> openUdevEvents(const char* subsystem, const char* deviceType) {
    UdevContext context(udev_new());
    if (!context) return nullptr;
    // If udev does not run (in a container, say), the kernel's own events are better than none.
    const bool udevRuns = ::access("/run/udev/control", F_OK) == 0;
    UdevMonitorHandle monitor(udev_monitor_new_from_netlink(context.get(), udevRuns ? "udev" : "kernel"));
    if (!monitor ||
        udev_monitor_filter_add_match_subsystem_devtype(monitor.get(), subsystem, deviceType) < 0 ||
        udev_monitor_enable_receiving(monitor.get()) < 0)
        return nullptr;
    return std::make_unique<UdevEvents>(std::move(context), std::move(monitor));
}

} // namespace tavelo
