// SPDX-License-Identifier: MIT
// The port on libusb.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/linux/usb/stream/usb_stream_port.h"

struct libusb_context;
struct libusb_device_handle;

namespace tavelo {

/// A camera opened for streaming.  Handle and context are valid as long as the claim is held; meanwhile no
/// kernel driver holds the streaming interface.
struct UsbStreamAccess {
    std::shared_ptr<void> claim;
    libusb_context* context = nullptr;
    libusb_device_handle* handle = nullptr; ///< null: it could not be opened
    std::uint8_t streamingInterface = 0;
};

/// Holds the claim as long as it lives; transfers made by it must be destroyed before it.
std::unique_ptr<UsbStreamPort> makeLibusbStreamPort(UsbStreamAccess access);

} // namespace tavelo
