// SPDX-License-Identifier: MIT
// A backend without hardware, and the bus behind it.
#pragma once

#include <memory>

#include "platform/backend.h"
#include "platform/virtual/virtual_bus.h"

namespace tavelo {

struct VirtualBackend : Backend {
    /// To plug and unplug cameras, inject faults and inspect what the cameras received.
    std::shared_ptr<VirtualBus> bus;
};

/// Starts with cameras 1 to `cameras` plugged in.
/// @param mainQueue must outlive the result
VirtualBackend makeVirtualBackend(int cameras, const CaptureFormatRequest& format, MainQueue& mainQueue);

/// The same on a bus that exists already.
VirtualBackend makeVirtualBackend(std::shared_ptr<VirtualBus> bus, const CaptureFormatRequest& format,
                                  MainQueue& mainQueue);

} // namespace tavelo
