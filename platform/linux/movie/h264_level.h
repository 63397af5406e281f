// SPDX-License-Identifier: MIT
// The H.264 level that a movie needs.
#pragma once

#include <cstdint>

namespace tavelo {

/// The lowest H.264 level whose decoders keep up with that frame rate, times ten as in files.  A few per
/// cent above a limit still count as within it: no camera's clock is exact.
std::uint8_t h264LevelFor(int width, int height, double framesPerSecond);

} // namespace tavelo
