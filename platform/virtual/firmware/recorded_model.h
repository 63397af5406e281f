// SPDX-License-Identifier: MIT
// A virtual camera that is like a recorded one.
#pragma once

#include <optional>

#include "platform/error.h"
#include "platform/uvc/camera_record.h"
#include "platform/virtual/firmware/virtual_camera_model.h"

namespace tavelo {

/// A camera with the descriptors and the answers of a recorded one.  It draws the software picture in the
/// sizes that the descriptors offer as YUYV or MJPEG, up to 8192 pixels a side; other formats are refused
/// when a host asks for them.
///
/// Nothing with the reason if the descriptors are not those of a camera.  Reentrant.
/// @param number as in virtualCameraModel
std::optional<VirtualCameraModel> modelLike(const CameraRecord& record, int number, Error& error);

} // namespace tavelo
