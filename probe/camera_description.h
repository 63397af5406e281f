// SPDX-License-Identifier: MIT
// A camera's descriptors, taken apart.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/extension_unit.h"
#include "platform/uvc/camera_record.h"
#include "platform/uvc/streaming_description.h"

namespace tavelo {

/// A terminal or a unit of a video-control interface.
struct DescribedEntity {
    std::uint8_t id = 0;
    std::uint8_t subtype = 0;       ///< of its descriptor
    std::uint16_t terminalType = 0; ///< of a terminal
    std::vector<std::uint8_t> sources;
    Guid guid{}; ///< of an extension unit
    std::vector<std::uint8_t> bmControls;
    /// Of the controls that bmControls lists, in order.  Bits that the class does not assign are left out.
    std::vector<std::uint8_t> selectors;
    std::vector<std::size_t> unknownBits; ///< set bits that the class does not assign

    /// "camera terminal", "processing unit", "extension unit"...
    std::string kind() const;
    bool isCameraTerminal() const;
    bool isProcessingUnit() const;
    bool isExtensionUnit() const;
};

struct CameraDescription {
    std::uint16_t vendorID = 0;
    std::uint16_t productID = 0;
    std::uint16_t usbVersion = 0;   ///< bcdUSB
    std::uint16_t release = 0;      ///< bcdDevice
    std::uint16_t classVersion = 0; ///< bcdUVC
    /// Those of one control interface, in the order of the descriptors, no identifier twice.
    std::vector<DescribedEntity> entities;
    std::vector<StreamingDescription> streams; ///< that belong to it
};

/// Accepts any bytes and leaves out what is cut off.  Pure and reentrant.
CameraDescription describeCamera(const UsbDescriptors& descriptors, std::uint8_t controlInterface);

} // namespace tavelo
