// SPDX-License-Identifier: MIT
// The transport that takes cameras from the kernel's driver, put together from its parts.
#pragma once

#include <memory>
#include <string>

#include "platform/capture.h"
#include "platform/diagnostics.h"
#include "platform/main_queue.h"
#include "platform/usb_platform.h"

namespace tavelo {

/// Both halves, or the reason why there are none.
struct UsbTransportHalves {
    std::unique_ptr<UsbPlatform> usb;
    std::unique_ptr<CapturePlatform> capture;
    std::string failure; ///< one line for the user where the halves are null
};

/// For this machine's cameras.  Fails where libusb finds no USB, or where a camera that is plugged in may not
/// be opened.  Both arguments by reference must outlive the halves and what they hand out.
UsbTransportHalves makeUsbTransport(MainQueue& mainQueue, Diagnostics& diagnostics,
                                    const CaptureFormatRequest& request);

} // namespace tavelo
