// SPDX-License-Identifier: MIT
// Pictures at a half or a quarter of a camera's size.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/camera_frame.h"
#include "platform/common/format_choice.h"
#include "platform/linux/pictures/frame_format.h"

namespace tavelo {

/// The size of a reduced picture; rounded up.
FrameSize reducedSize(FrameSize size, unsigned reduction);

/// By how much a picture can be reduced and is still at least as large as it is shown: 1, 2 or 4.  Raw
/// pictures are halved at most, and grey ones, which hardly any camera sends, are not reduced.
unsigned reductionFor(Fourcc format, FrameSize size, const PictureDemand& demand);

/// Halves raw frames before their colours are converted.  Thread-bound; allocates when the size changes.
class PictureHalver {
public:
    /// @param format      YUYV, UYVY, NV12 or I420
    /// @param bytes       a whole frame, with at least the format's bytes per line
    /// @param destination BGRA of the reduced size; the caller holds its lock
    /// @return whether it could be converted
    bool halve(const FrameFormat& format, const std::uint8_t* bytes, const PixelBuffer& destination);

private:
    bool halvePacked(const FrameFormat& format, const std::uint8_t* bytes, const PixelBuffer& destination);
    bool halvePlanar(const FrameFormat& format, const std::uint8_t* bytes, const PixelBuffer& destination);

    std::vector<std::uint8_t> memory_;
};

/// Reduces a BGRA picture to the destination's size.  The caller holds both locks.
bool shrink(const PixelBuffer& whole, const PixelBuffer& destination);

} // namespace tavelo
