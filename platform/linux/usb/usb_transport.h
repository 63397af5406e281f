// SPDX-License-Identifier: MIT
// Assembles the transport that takes cameras from the kernel's driver.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/capture.h"
#include "platform/diagnostics.h"
#include "platform/main_queue.h"
#include "platform/usb_platform.h"

namespace tavelo {

/// Both halves, or neither.
struct UsbTransportHalves {
    std::unique_ptr<UsbPlatform> usb;
    std::unique_ptr<CapturePlatform> capture;
};

/// For this machine's cameras.  Neither half if libusb finds no USB, or if a plugged-in camera may not be
/// opened.  Both arguments by reference must outlive the halves and what they return.
/// @param warn gets the reason in one line, also if a camera plugged in later may not be opened; called at
///     most once, on any thread; may be empty
/// @param priority of the streams' threads; may be null
UsbTransportHalves makeUsbTransport(MainQueue& mainQueue, Diagnostics& diagnostics,
                                    const CaptureFormatRequest& request,
                                    const std::function<void(const std::string& line)>& warn,
                                    const std::shared_ptr<ThreadPriority>& priority = {});

} // namespace tavelo
