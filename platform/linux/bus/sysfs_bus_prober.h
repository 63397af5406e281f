// SPDX-License-Identifier: MIT
// The cameras on the USB bus, from descriptors cached by libusb and the kernel.
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "platform/bus_prober.h"
#include "platform/linux/bus/udev_monitor.h"
#include "platform/linux/bus/usb_descriptor_source.h"

namespace tavelo {

/// Lists the video functions of all devices.  Opens no device and sends no request, so any user may list
/// any camera, even one in use.
class SysfsBusProber final : public BusProber {
public:
    /// @param delegate    may be null; must outlive the prober
    /// @param sysfs       root of the tree
    /// @param descriptors may be null; sysfs is read then, and for devices that this source lacks
    /// @param events      changes of USB devices; may be null
    SysfsBusProber(BusProberDelegate* delegate, std::filesystem::path sysfs,
                   std::unique_ptr<UsbDescriptorSource> descriptors, std::unique_ptr<UdevEventSource> events);

    void refreshData(bool notify) override;
    const std::vector<std::shared_ptr<const BusProberDevice>>& devicesArray() const override {
        return devices_;
    }

private:
    std::vector<BusProberDevice> scan();

    BusProberDelegate* const delegate_;
    const std::filesystem::path sysfs_;
    std::unique_ptr<UsbDescriptorSource> descriptors_;
    std::vector<std::shared_ptr<const BusProberDevice>> devices_;
    UdevMonitor monitor_; // last: its thread calls the delegate
};

} // namespace tavelo
