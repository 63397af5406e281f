// SPDX-License-Identifier: MIT
// Lists the cameras on the virtual bus from their descriptors.
#pragma once

#include <memory>
#include <vector>

#include "platform/bus_prober.h"
#include "platform/serial_queue.h"
#include "platform/virtual/virtual_bus.h"

namespace tavelo {

/// Uses the same descriptor parser as for real cameras.
class VirtualBusProber final : public BusProber, private VirtualBusListener {
public:
    /// @param delegate may be null
    VirtualBusProber(std::shared_ptr<VirtualBus> bus, BusProberDelegate* delegate);
    ~VirtualBusProber() override;

    VirtualBusProber(const VirtualBusProber&) = delete;
    VirtualBusProber& operator=(const VirtualBusProber&) = delete;

    void refreshData(bool notify) override;
    const std::vector<std::shared_ptr<const BusProberDevice>>& devicesArray() const override {
        return devices_;
    }

private:
    void virtualBusDidChange() override { tellDelegate(); }
    void tellDelegate();

    const std::shared_ptr<VirtualBus> bus_;
    BusProberDelegate* const delegate_;
    std::vector<std::shared_ptr<VirtualCameraFirmware>> cameras_; // as the last scan found them
    std::vector<std::shared_ptr<const BusProberDevice>> devices_;
    SerialQueue queue_; // the delegate is called here
};

} // namespace tavelo
