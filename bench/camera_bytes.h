// SPDX-License-Identifier: MIT
// Frames as a camera sends them.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/common/format_choice.h"

namespace tavelo::bench {

/// A busy picture of that size in YUYV or MJPEG (4:2:2, as cameras do); empty for another format.
std::vector<std::uint8_t> cameraBytes(Fourcc format, FrameSize size);

} // namespace tavelo::bench
