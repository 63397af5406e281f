// SPDX-License-Identifier: MIT
// Frames in the formats that cameras send.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/common/format_choice.h"

namespace tavelo::bench {

/// A detailed picture in YUYV or MJPEG (4:2:2, as cameras send it); empty for other formats.
std::vector<std::uint8_t> cameraBytes(Fourcc format, FrameSize size);

} // namespace tavelo::bench
