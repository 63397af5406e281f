// SPDX-License-Identifier: MIT
// The USB half of the virtual backend.
#pragma once

#include <memory>
#include <vector>

#include "platform/usb_platform.h"
#include "platform/virtual/virtual_bus.h"

namespace tavelo {

class VirtualUsbPlatform final : public UsbPlatform {
public:
    explicit VirtualUsbPlatform(std::shared_ptr<VirtualBus> bus);

    std::unique_ptr<BusProber> initBusProber(int scope, BusProberDelegate* delegate) override;
    std::vector<std::unique_ptr<UsbDeviceService>> matchingDeviceServices() override;

private:
    const std::shared_ptr<VirtualBus> bus_;
};

} // namespace tavelo
