// SPDX-License-Identifier: MIT
// The transport that takes cameras from the kernel's driver, put together from its parts.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/capture.h"
#include "platform/diagnostics.h"
#include "platform/main_queue.h"
#include "platform/usb_platform.h"

namespace tavelo {

/// Both halves, or none.
struct UsbTransportHalves {
    std::unique_ptr<UsbPlatform> usb;
    std::unique_ptr<CapturePlatform> capture;
};

/// For this machine's cameras.  None where libusb finds no USB, or where a camera that is plugged in may not
/// be opened.  Both arguments by reference must outlive the halves and what they hand out.
/// @param warn hears the reason in one line, also later where a camera that comes may not be opened; once at
///             most, on any thread; may be empty
/// @param priority of the streams' threads; may be null
UsbTransportHalves makeUsbTransport(MainQueue& mainQueue, Diagnostics& diagnostics,
                                    const CaptureFormatRequest& request,
                                    const std::function<void(const std::string& line)>& warn,
                                    const std::shared_ptr<ThreadPriority>& priority = {});

} // namespace tavelo
