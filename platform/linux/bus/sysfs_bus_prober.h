// SPDX-License-Identifier: MIT
// The cameras on the USB bus, from the descriptors that the kernel keeps.
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "platform/bus_prober.h"
#include "platform/linux/bus/udev_monitor.h"

namespace tavelo {

/// Lists the video functions of all devices.  Opens no device and sends no request, so any user may list
/// any camera, even one in use.
class SysfsBusProber final : public BusProber {
public:
    /// @param delegate may be null; must outlive the prober
    /// @param sysfs    root of the tree
    /// @param events   changes of USB devices; may be null
    SysfsBusProber(BusProberDelegate* delegate, std::filesystem::path sysfs,
                   std::unique_ptr<UdevEventSource> events);

    void refreshData(bool notify) override;
    const std::vector<std::shared_ptr<const BusProberDevice>>& devicesArray() const override {
        return devices_;
    }

private:
    std::vector<BusProberDevice> scan() const;

    BusProberDelegate* const delegate_;
    const std::filesystem::path sysfs_;
    std::vector<std::shared_ptr<const BusProberDevice>> devices_;
    UdevMonitor monitor_; // last: its thread calls the delegate
};

} // namespace tavelo
