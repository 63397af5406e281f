// SPDX-License-Identifier: MIT
// How large a picture may be, whatever the camera says.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/format_choice.h"

namespace tavelo {

/// A camera's sizes come from a device that may be broken or hostile.  No memory is asked for before they
/// were held against these bounds.  All functions are pure and reentrant.
inline constexpr std::uint32_t longestSide = 16384;
inline constexpr std::uint64_t mostPixels = std::uint64_t{1} << 26U; // 64 megapixel sensors exist

/// Of a row with its padding.
inline constexpr std::uint32_t mostBytesPerLine = longestSide * 4;

/// Neither empty nor beyond the bounds.
bool isShowable(FrameSize size);

/// Bytes of an uncompressed frame without padding; 0 for MJPEG.
std::size_t wholeFrameBytes(Fourcc format, FrameSize size);

/// What a buffer for one frame is worth at most, padding or a poorly compressed picture included.
std::size_t mostFrameBytes(Fourcc format, FrameSize size);

} // namespace tavelo
