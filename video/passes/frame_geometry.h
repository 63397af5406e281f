// SPDX-License-Identifier: MIT
// Sizes, the quad and the transforms that place a frame in the view.
#pragma once

#include <array>
#include <cstdint>

namespace tavelo {

/// How a frame is fitted into a view of another aspect ratio.
enum class VideoGravity : std::uint8_t {
    resize,          ///< stretched to fill
    resizeAspect,    ///< whole, with black bars
    resizeAspectFill ///< fills the view and is cropped
};

/// In pixels of the drawable.
struct ViewportSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    friend bool operator==(const ViewportSize&, const ViewportSize&) = default;
};

/// Threads per group, or groups per dispatch.
struct GroupExtent {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint64_t depth = 0;

    friend bool operator==(const GroupExtent&, const GroupExtent&) = default;
};

inline constexpr GroupExtent correctionGroupSize{16, 16, 1};

/// The number of groups that cover a frame, rounded up.
GroupExtent correctionGroupCount(std::uint64_t width, std::uint64_t height);

/// The correction pass's parameters, in the shader's memory layout.
struct CorrectionParameters {
    std::uint8_t unusedFlag = 0;
    std::array<std::uint8_t, 3> padding1{};
    float unusedFactor = 1.0F;
    std::uint8_t shouldFlipHorizontal = 0;
    std::uint8_t shouldFlipVertical = 0;
    std::array<std::uint8_t, 2> padding2{};
};
static_assert(sizeof(CorrectionParameters) == 12);

struct QuadVertex {
    std::array<float, 4> position;
    std::array<float, 2> textureCoordinate;
    std::array<float, 2> padding{};
};

/// Two triangles that cover the whole view, with the frame's first row at the top.
inline constexpr std::array<QuadVertex, 6> quadVertices{{
    {{1, -1, 0, 1}, {1, 1}},
    {{-1, -1, 0, 1}, {0, 1}},
    {{-1, 1, 0, 1}, {0, 0}},
    {{1, -1, 0, 1}, {1, 1}},
    {{-1, 1, 0, 1}, {0, 0}},
    {{1, 1, 0, 1}, {1, 0}},
}};
static_assert(sizeof(quadVertices) == 192);
inline constexpr std::uint64_t numVertices = quadVertices.size();

/// A 4x4 transform, row by row.
using Transform = std::array<double, 16>;
/// The same for the GPU, column by column.
using FloatMatrix = std::array<float, 16>;

inline constexpr Transform identityTransform{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

/// Scales the quad to fit a frame of `width` x `height` pixels into the viewport according to `gravity`.
/// Identity if any side is 0.
Transform modelViewTransform(VideoGravity gravity, std::uint64_t width, std::uint64_t height,
                             ViewportSize viewport);

} // namespace tavelo
