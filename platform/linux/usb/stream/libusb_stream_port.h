// SPDX-License-Identifier: MIT
// The port on libusb.
#pragma once

#include <memory>

#include "platform/linux/usb/stream/usb_stream_input.h"
#include "platform/linux/usb/stream/usb_stream_port.h"

namespace tavelo {

/// Holds the claim as long as it lives; transfers made by it must be destroyed before it.
std::unique_ptr<UsbStreamPort> makeLibusbStreamPort(UsbStreamAccess access);

} // namespace tavelo
