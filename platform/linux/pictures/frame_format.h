// SPDX-License-Identifier: MIT
// What a stream's frames look like.
#pragma once

#include <cstdint>

#include "platform/common/format_choice.h"

namespace libyuv {
struct YuvConstants;
}

namespace tavelo {

enum class YuvMatrix : std::uint8_t { bt601, bt709, bt2020 };

/// A format as the driver set it.
struct FrameFormat {
    Fourcc format = 0;
    FrameSize size;
    std::uint32_t bytesPerLine = 0; ///< of the first plane; raised to the length of a row if it is less
    /// The colours as the driver reports them; ignored for MJPEG, which is always BT.601 in full range.
    YuvMatrix matrix = YuvMatrix::bt601;
    bool fullRange = false;

    friend bool operator==(const FrameFormat&, const FrameFormat&) = default;
};

/// Two pixels in four bytes.
inline bool isPacked(Fourcc format) {
    return format == fourcc::yuyv || format == fourcc::uyvy;
}

/// libyuv's name for the colours of a raw format.
const libyuv::YuvConstants* yuvConstants(const FrameFormat& format);

} // namespace tavelo
