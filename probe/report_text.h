// SPDX-License-Identifier: MIT
// The report on a camera, for people.
#pragma once

#include <string>

#include "platform/uvc/camera_record.h"

namespace tavelo {

/// Plain text of many lines, each ended by a line break.  Pure and reentrant.
std::string reportText(const CameraRecord& record);

} // namespace tavelo
