// SPDX-License-Identifier: MIT
// Asks a camera for everything that can be read of its controls.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/error.h"
#include "platform/usb_interface.h"
#include "platform/uvc/camera_record.h"

namespace tavelo {

/// Who asks, for the record.
struct ProbeOrigin {
    std::string program; ///< its version
    std::string kernel;  ///< the release of the running kernel
};

/// Reads every control that the camera's descriptors list: of the camera terminal and the processing units
/// all that the class knows, of extension units all of their bitmap.  Of the class's controls that are not
/// listed it asks GET_INFO and records those that do not refuse it.  Writes nothing.
///
/// An entity that was silent twice is asked no more, and after eight silences nothing is: what is left is
/// `skipped`.  So it takes a minute at worst.  Nothing, with the reason, if the camera cannot be opened or
/// was unplugged meanwhile.
/// @param controlInterface which video function; absent: the first
std::optional<CameraRecord> probeCamera(UsbDevice& device, std::optional<std::uint8_t> controlInterface,
                                        const ProbeOrigin& origin, Error& error);

} // namespace tavelo
