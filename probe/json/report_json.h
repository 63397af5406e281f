// SPDX-License-Identifier: MIT
// The report on a camera, for programs.
#pragma once

#include <string>

#include "platform/uvc/camera_record.h"

namespace tavelo {

/// A JSON object in ASCII, on many lines.  Reentrant.
std::string reportJson(const CameraRecord& record);

} // namespace tavelo
