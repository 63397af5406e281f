// SPDX-License-Identifier: MIT
// A virtual camera as a source of frames.
#pragma once

#include <memory>

#include "platform/capture.h"
#include "virtual-camera/firmware/virtual_camera_firmware.h"

namespace tavelo {

/// @param format what the streams of this device shall be like
std::shared_ptr<CaptureDevice> makeVirtualCaptureDevice(std::shared_ptr<VirtualCameraFirmware> firmware,
                                                        const CaptureFormatRequest& format);

} // namespace tavelo
