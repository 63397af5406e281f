// SPDX-License-Identifier: MIT
// Limits on the size of pictures.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/format_choice.h"

namespace tavelo {

/// A camera's sizes come from a device that may be broken or hostile: check them against these limits before
/// allocating memory.  All functions are pure and reentrant.
inline constexpr std::uint32_t longestSide = 16384;
inline constexpr std::uint64_t mostPixels = std::uint64_t{1} << 26U; // 64 megapixel sensors exist

/// Bytes of a row including padding.
inline constexpr std::uint32_t mostBytesPerLine = longestSide * 4;

/// Not empty and within the limits.
bool isShowable(FrameSize size);

/// Bytes of an uncompressed frame without padding; 0 for MJPEG.
std::size_t wholeFrameBytes(Fourcc format, FrameSize size);

/// Upper limit for the buffer of one frame, padding or poor compression included.
std::size_t mostFrameBytes(Fourcc format, FrameSize size);

} // namespace tavelo
