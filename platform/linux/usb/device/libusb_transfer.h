// SPDX-License-Identifier: MIT
// A transfer on libusb.
#pragma once

#include <libusb.h>

#include <memory>

#include "platform/linux/usb/device/usb_transfer.h"

namespace tavelo {

/// Null if memory is short.  Listener and handle must outlive the transfer.
std::unique_ptr<UsbTransfer> makeLibusbTransfer(libusb_device_handle* handle, const UsbTransferShape& shape,
                                                UsbTransferListener& listener);

} // namespace tavelo
