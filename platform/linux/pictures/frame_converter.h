// SPDX-License-Identifier: MIT
// Converts camera frames into the BGRA pictures that the session delivers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/capture.h"
#include "platform/common/pixel_buffer_pool.h"
#include "platform/linux/pictures/frame_format.h"
#include "platform/linux/pictures/kept_frame.h"
#include "platform/linux/pictures/mjpeg_decoder.h"
#include "platform/linux/pictures/picture_reduction.h"
#include "platform/linux/pictures/planar_picture.h"

namespace tavelo {

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

    /// Makes the pictures that are wanted, and keeps the frame's bytes if that is not the whole one.  A
    /// picture that is shown larger than half its size is made as a whole, unless it is for a movie: then
    /// what is shown comes from the same planes as the movie's picture.
    /// For a frame that is the same as the one before it makes nothing, but gives the same objects again.
    /// @return empty if the frame must be dropped; without a time
    SampleBuffer convert(std::span<const std::uint8_t> bytes, const PictureDemand& demand);

    /// Converts into a BGRA picture, which must have the frame's size and whose lock the caller holds.
    bool convertInto(std::span<const std::uint8_t> bytes, const PixelBuffer& destination);

private:
    std::optional<FrameSize> begin(std::span<const std::uint8_t> bytes);
    bool draw(std::span<const std::uint8_t> bytes, const PixelBuffer& destination);
    bool canKeepForMovie(FrameSize size) const;
    std::shared_ptr<const KeptFrame> keep(std::span<const std::uint8_t> bytes, FrameSize size, bool forMovie);
    std::shared_ptr<PixelBuffer> makeWhole(std::span<const std::uint8_t> bytes, FrameSize size);
    std::shared_ptr<PixelBuffer> makeReduced(std::span<const std::uint8_t> bytes, FrameSize size,
                                             unsigned reduction);
    bool drawReduced(std::span<const std::uint8_t> bytes, const PixelBuffer& destination, unsigned reduction);
    std::shared_ptr<PixelBuffer> reduce(const PixelBuffer& whole, FrameSize size, unsigned reduction);
    bool convertRaw(const std::uint8_t* bytes, const PixelBuffer& destination);
    int convertPacked(const std::uint8_t* bytes, const PixelBuffer& destination);

    FrameFormat format_;
    std::size_t frameBytes_ = 0;       // minimum size of a whole frame; 0: no format
    std::vector<std::uint8_t> planes_; // for packed frames that libyuv cannot convert directly
    PixelBufferPool pool_;
    PixelBufferPool reducedPool_;
    KeptFramePool kept_;
    std::shared_ptr<const KeptFrame> lastKept_;
    std::shared_ptr<PixelBuffer> lastReduced_; // of lastKept_
    MjpegDecoder jpeg_;
    PictureHalver halver_;
    PlanarReducer planarReducer_;
};

} // namespace tavelo
