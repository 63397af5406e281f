// SPDX-License-Identifier: MIT
// Tells when devices of one kind come and go.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "platform/linux/wake_event.h"

namespace tavelo {

/// Listens to udev, after its rules have run (links and rights are there then), on a thread of its own. Where
/// no udev runs it listens to the kernel itself; where neither can be heard it stays silent.
class UdevMonitor {
public:
    /// @param subsystem "video4linux", "usb"
    /// @param deviceType what to hear of within the subsystem ("usb_device"); empty for all
    /// @param changed called on the monitor's thread, once for any number of events that came together; must
    /// not
    ///     destroy the monitor
    UdevMonitor(const std::string& subsystem, const std::string& deviceType, std::function<void()> changed);

    /// No call of `changed` is under way when it returns.
    ~UdevMonitor();

    UdevMonitor(const UdevMonitor&) = delete;
    UdevMonitor& operator=(const UdevMonitor&) = delete;

    /// Whether anything can be heard at all.
    bool isListening() const { return connection_ != nullptr; }

private:
    struct Connection;

    void run();

    const std::function<void()> changed_;
    std::unique_ptr<Connection> connection_; // used by the thread once that runs
    WakeEvent stop_;
    std::thread thread_;
};

} // namespace tavelo
