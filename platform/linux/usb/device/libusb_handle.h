// SPDX-License-Identifier: MIT
// An opened device on libusb.
#pragma once

#include <memory>

#include "platform/linux/usb/device/usb_handle.h"

struct libusb_context;

namespace tavelo {

/// Null with the reason if the device cannot be opened.  The context must outlive the handle, and a thread
/// must handle its events.
std::unique_ptr<UsbHandle> openLibusbHandle(libusb_context* context, const UsbAddress& address, Error& error);

} // namespace tavelo
