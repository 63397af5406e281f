// SPDX-License-Identifier: MIT
// What a decoder must be able to do to play a movie.
#pragma once

#include <cstdint>

namespace tavelo {

/// The lowest level of H.264 whose decoders keep up with that many frames a second; ten times its number, as
/// files have it.  A few per cent above a limit are still within it: no camera's clock is exact.
std::uint8_t h264LevelFor(int width, int height, double framesPerSecond);

} // namespace tavelo
