// SPDX-License-Identifier: MIT
// Finds the USB device behind a camera.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/usb_platform.h"

namespace tavelo {

struct FoundVideoFunction {
    std::unique_ptr<UsbDevice> device; ///< null if there is none
    std::uint8_t controlInterface = 0;
};

/// @param uniqueID of a capture device, see CaptureDevice
FoundVideoFunction findVideoFunction(UsbPlatform& usb, std::string_view uniqueID);

} // namespace tavelo
