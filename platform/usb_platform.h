// SPDX-License-Identifier: MIT
// The USB half of a backend: kernel driver, raw USB or virtual cameras.
#pragma once

#include <memory>
#include <vector>

#include "platform/bus_prober.h"
#include "platform/usb_interface.h"

namespace tavelo {

class UsbPlatform {
public:
    virtual ~UsbPlatform() = default;

    /// @param scope which part of the bus to list; only 2, video devices, is used
    /// @param delegate may be null; must outlive the prober
    virtual std::unique_ptr<BusProber> initBusProber(int scope, BusProberDelegate* delegate) = 0;

    /// Every USB device, in the operating system's order.  Thread-safe.
    virtual std::vector<std::unique_ptr<UsbDevice>> listDevices() = 0;
};

} // namespace tavelo
