// SPDX-License-Identifier: MIT
// Scales pictures with the same pixels as a GPU's bilinear sampling.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavelo {

/// Four bytes per pixel, rows of `bytesPerRow` bytes.
struct ConstPixels {
    const std::uint8_t* bytes = nullptr;
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
};

struct Pixels {
    std::uint8_t* bytes = nullptr; ///< every row is aligned to 4
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
};

/// Bilinear sampling at pixel centres, clamped to the edge, with eight bits of fraction.
///
/// Not reentrant: tables and a row buffer are kept between pictures, so that pictures of the same size need
/// no allocation.
class BilinearScaler {
public:
    /// Four channels of two neighbours.
    using PairWords [[gnu::vector_size(16)]] = std::uint16_t;

    /// Draws `source` opaque and centred on `target`, as large as the target times the scales.  The rest of
    /// the target becomes black.
    void draw(const ConstPixels& source, const Pixels& target, double scaleX, double scaleY);

private:
    /// The position of a target pixel between two source pixels: `first` and the one after it.
    struct Sample {
        std::uint32_t first = 0;
        std::uint32_t fraction = 0; ///< weight of the second, of 256
    };

    /// The part of the target that the source covers along one axis, with one sample per target pixel.
    struct Axis {
        std::size_t sourceLength = 0;
        std::size_t targetLength = 0;
        double scale = 0;

        std::size_t begin = 0;
        std::vector<Sample> samples;

        std::size_t end() const { return begin + samples.size(); }
        /// @return false if nothing changed
        bool prepare(std::size_t newSourceLength, std::size_t newTargetLength, double newScale);
    };

    void weighColumns();
    const std::uint32_t* blendRows(const ConstPixels& source, Sample row);
    void drawRow(const std::uint32_t* blended, std::uint32_t* target) const;

    Axis columns_;
    Axis rows_;
    std::vector<PairWords> weights_; // of the columns' samples
    std::vector<std::uint32_t> row_; // one pixel longer than a source row
};

} // namespace tavelo
