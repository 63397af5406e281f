// SPDX-License-Identifier: MIT
// Turns what a camera sends into the BGRA pictures that the session delivers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/common/format_choice.h"
#include "platform/common/pixel_buffer_pool.h"
#include "platform/linux/pictures/mjpeg_decoder.h"

namespace tavelo {

enum class YuvMatrix : std::uint8_t { bt601, bt709, bt2020 };

/// A format as the driver set it.
struct FrameFormat {
    Fourcc format = 0;
    FrameSize size;
    std::uint32_t bytesPerLine = 0; ///< of the first plane; what is too little for a row is replaced by a row
    /// What the driver says of the colours; MJPEG, which is always BT.601 in full range, does not ask.
    YuvMatrix matrix = YuvMatrix::bt601;
    bool fullRange = false;
};

/// Converts frame after frame.  Thread-bound to the stream's thread; allocates when the format or the size
/// changes, and until enough pictures are in circulation.
class FrameConverter {
public:
    /// @return false for a format that we cannot convert, or a size without sense; convert() drops all then
    bool setFormat(const FrameFormat& format);

    /// Null for a frame to be dropped: too short, damaged, or every picture is still held by others.
    /// A JPEG picture comes in its own size, within reason, whatever was agreed on.
    std::shared_ptr<PixelBuffer> convert(std::span<const std::uint8_t> bytes);

private:
    std::shared_ptr<PixelBuffer> convertJpeg(std::span<const std::uint8_t> bytes);
    std::shared_ptr<PixelBuffer> convertRaw(const std::uint8_t* bytes);
    int convertPacked(const std::uint8_t* bytes, const PixelBuffer& destination);

    FrameFormat format_;
    std::size_t frameBytes_ = 0;       // what a whole frame has at least; 0: no format
    std::vector<std::uint8_t> planes_; // packed frames pass through it where libyuv has no direct way
    PixelBufferPool pool_;
    MjpegDecoder jpeg_;
};

} // namespace tavelo
