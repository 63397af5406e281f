// SPDX-License-Identifier: MIT
// Ownership of libudev's objects.
#pragma once

#include <libudev.h>

#include <memory>

namespace tavelo {

struct UdevRelease {
    void operator()(udev* context) const { udev_unref(context); }
    void operator()(udev_monitor* monitor) const { udev_monitor_unref(monitor); }
    void operator()(udev_device* device) const { udev_device_unref(device); }
};

using UdevContext = std::unique_ptr<udev, UdevRelease>;
using UdevMonitorHandle = std::unique_ptr<udev_monitor, UdevRelease>;
using UdevDeviceHandle = std::unique_ptr<udev_device, UdevRelease>;

} // namespace tavelo
