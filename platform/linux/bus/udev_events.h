// SPDX-License-Identifier: MIT
// Events of udev about devices that come and go.
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace tavelo {

struct UdevEvent {
    std::string action;  ///< "add", "remove", ...; empty if events were lost, and anything may have changed
    std::string sysPath; ///< the device's folder in sysfs
    std::string sysName; ///< "video0", "1-4"
    std::string devNode; ///< "/dev/video0", or empty
};

/// A stream of events.  Thread-bound to whoever reads it.
class UdevEventSource {
public:
    virtual ~UdevEventSource() = default;

    /// Readable while events are pending.
    virtual int descriptor() const = 0;

    /// The next event; nothing if none is pending.  Never blocks.
    virtual std::optional<UdevEvent> receive() = 0;
};

/// Events that udev sends after running its rules, so links and rights are in place.  If udev does not run,
/// the kernel's events.
/// @param subsystem "usb", "video4linux"
/// @param deviceType "usb_device"; null for every type
/// @return null if neither is available
std::unique_ptr<UdevEventSource> openUdevEvents(const char* subsystem, const char* deviceType);

} // namespace tavelo
