// SPDX-License-Identifier: MIT
// What udev tells of devices that come and go.
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace tavelo {

struct UdevEvent {
    std::string action; ///< "add", "remove", ...; empty where events were lost, and anything may have changed
    std::string sysPath; ///< the device's folder in sysfs
    std::string sysName; ///< "video0", "1-4"
    std::string devNode; ///< "/dev/video0", or empty
};

/// A stream of events.  Thread-bound to whoever reads it.
class UdevEventSource {
public:
    virtual ~UdevEventSource() = default;

    /// Readable while there is something to receive.
    virtual int descriptor() const = 0;

    /// The next event; nothing where there is none now.  Never blocks.
    virtual std::optional<UdevEvent> receive() = 0;
};

/// Events that udev sends once its rules have run: links and rights are there by then.  Where no udev runs,
/// the kernel's events.
/// @param subsystem "usb", "video4linux"
/// @param deviceType "usb_device"; null for every type
/// @return null where neither can be heard
std::unique_ptr<UdevEventSource> openUdevEvents(const char* subsystem, const char* deviceType);

} // namespace tavelo
