// SPDX-License-Identifier: MIT
// A virtual camera as a source of frames.
#pragma once

#include <memory>

#include "platform/capture.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"

namespace tavelo {

/// @param format the requested format of this device's streams
std::shared_ptr<CaptureDevice> makeVirtualCaptureDevice(std::shared_ptr<VirtualCameraFirmware> firmware,
                                                        const CaptureFormatRequest& format);

} // namespace tavelo
