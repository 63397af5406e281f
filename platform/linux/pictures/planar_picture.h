// SPDX-License-Identifier: MIT
// A JPEG picture as its planes, before any conversion.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/common/format_choice.h"
#include "platform/pixel_buffer.h"

namespace tavelo {

/// Luma and two planes of chroma in full range: 4:2:2, 4:2:0, or luma alone.  The planes are padded to whole
/// JPEG blocks, as the camera filled them.
struct PlanarPicture {
    struct Plane {
        std::size_t offset = 0; ///< in the memory
        int bytesPerRow = 0;
    };

    FrameSize size;
    bool grey = false;
    bool halfChromaRows = false; ///< 4:2:0
    Plane luma;
    Plane chroma[2];
    std::vector<std::uint8_t> memory;

    std::uint8_t* at(const Plane& plane) { return memory.data() + plane.offset; }
    const std::uint8_t* at(const Plane& plane) const { return memory.data() + plane.offset; }
};

/// Draws reduced pictures.  Thread-bound; allocates when the size changes.
class PlanarReducer {
public:
    /// @param destination BGRA of the reduced size; the caller holds its lock
    /// @param reduction   1, 2 or 4
    bool draw(const PlanarPicture& picture, const PixelBuffer& destination, unsigned reduction);

private:
    struct Band;
    struct Rows {
        const std::uint8_t* first = nullptr;
        int stride = 0;
    };

    static Rows reduceChroma(const PlanarPicture& picture, int which, int reduction, const Band& band);
    static bool drawBand(const PlanarPicture& picture, const PixelBuffer& destination, int reduction,
                         const Band& band);

    std::vector<std::uint8_t> memory_;
};

} // namespace tavelo
