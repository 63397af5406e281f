// SPDX-License-Identifier: MIT
// Draws a picture scaled into another, pixel for pixel as a GPU samples it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavelo {

/// Four bytes a pixel, rows of `bytesPerRow` bytes.
struct ConstPixels {
    const std::uint8_t* bytes = nullptr;
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
};

struct Pixels {
    std::uint8_t* bytes = nullptr; ///< aligned to 4, as every row is
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
};

/// Bilinear sampling at pixel centres, clamped to the edge, in eight bits of fraction.
///
/// Not reentrant: it keeps its tables and its row from picture to picture, so that equal sizes cost no
/// allocation.
class BilinearScaler {
public:
    /// Draws `source` centred on `target`, as large as the target times the scales, opaque, black around.
    void draw(const ConstPixels& source, const Pixels& target, double scaleX, double scaleY);

private:
    /// Where a pixel of the target lies between two of the source: `first` and the one after it.
    struct Sample {
        std::uint32_t first = 0;
        std::uint32_t fraction = 0; ///< of 256, of the second
    };

    /// The stretch of the target that the source covers along one axis, one sample a pixel of it.
    struct Axis {
        std::size_t sourceLength = 0;
        std::size_t targetLength = 0;
        double scale = 0;

        std::size_t begin = 0;
        std::vector<Sample> samples;

        std::size_t end() const { return begin + samples.size(); }
        void prepare(std::size_t newSourceLength, std::size_t newTargetLength, double newScale);
    };

    const std::uint32_t* blendRows(const ConstPixels& source, Sample row);
    void drawRow(const std::uint32_t* blended, std::uint32_t* target) const;

    Axis columns_;
    Axis rows_;
    std::vector<std::uint32_t> row_; // one pixel longer than the source's rows
};

} // namespace tavelo
