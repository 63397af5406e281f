// SPDX-License-Identifier: MIT
// Pictures in the formats that other programs take from cameras.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/capture.h"
#include "platform/common/format_choice.h"

namespace tavelo {

/// Colours are BT.601 in limited range, except for bgrx.
enum class SharedFormat : std::uint8_t { nv12, i420, yuy2, bgrx };

/// A picture in one block of memory, its planes one after the other.
struct SharedLayout {
    SharedFormat format = SharedFormat::nv12;
    FrameSize size; ///< both sides even

    /// Of the first plane, a multiple of 4.
    std::size_t bytesPerRow() const;
    std::size_t bytes() const;

    friend bool operator==(const SharedLayout&, const SharedLayout&) = default;
};

/// Draws pictures into other programs' memory.  Thread-bound; allocates when the layout changes.
class SharedPictureDrawer {
public:
    /// A picture of another size is scaled to fit, between black bars.
    /// @param sample a whole picture, or a camera frame of the layout's size with a movie's picture
    /// @param memory as long as the layout says
    /// @return false, with nothing drawn, if the sample is neither
    bool draw(const SampleBuffer& sample, const SharedLayout& layout, std::uint8_t* memory);

private:
    void drawFrame(const CameraFrame& frame, Mirroring mirroring, const SharedLayout& layout,
                   std::uint8_t* memory);
    void drawPicture(const PixelBuffer& picture, const SharedLayout& layout, std::uint8_t* memory);
    const PixelBuffer& fitted(const PixelBuffer& picture, FrameSize size);

    std::vector<std::uint8_t> nv12_;
    std::shared_ptr<PixelBuffer> fitted_;
    FrameSize fittedOf_; // the size of the pictures for which fitted_ has its bars
};

} // namespace tavelo
