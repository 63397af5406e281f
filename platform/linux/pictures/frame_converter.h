// SPDX-License-Identifier: MIT
// Converts camera frames into the BGRA pictures that the session delivers.
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
    std::uint32_t bytesPerLine = 0; ///< of the first plane; raised to the length of a row if it is less
    /// The colours as the driver reports them; ignored for MJPEG, which is always BT.601 in full range.
    YuvMatrix matrix = YuvMatrix::bt601;
    bool fullRange = false;
};

/// Converts frame after frame.  Thread-bound to the stream's thread.  Allocates when the format or the size
/// changes, and until the pool has enough pictures.
class FrameConverter {
public:
    /// @return false for a format that we cannot convert or an invalid size; convert() then drops every
    ///     frame
    bool setFormat(const FrameFormat& format);

    /// Null if the frame must be dropped: it is too short or damaged, or no picture of the pool is free.
    /// A JPEG picture keeps its own size, within limits, even if another one was negotiated.
    std::shared_ptr<PixelBuffer> convert(std::span<const std::uint8_t> bytes);

private:
    std::shared_ptr<PixelBuffer> convertJpeg(std::span<const std::uint8_t> bytes);
    std::shared_ptr<PixelBuffer> convertRaw(const std::uint8_t* bytes);
    int convertPacked(const std::uint8_t* bytes, const PixelBuffer& destination);

    FrameFormat format_;
    std::size_t frameBytes_ = 0;       // minimum size of a whole frame; 0: no format
    std::vector<std::uint8_t> planes_; // for packed frames that libyuv cannot convert directly
    PixelBufferPool pool_;
    MjpegDecoder jpeg_;
};

} // namespace tavelo
