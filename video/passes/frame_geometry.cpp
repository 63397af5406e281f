// SPDX-License-Identifier: MIT
#include "video/passes/frame_geometry.h"

namespace tavelo {
namespace {

Transform scaled(double x, double y) {
    Transform transform = identityTransform;
    transform[0] = x;
    transform[5] = y;
    return transform;
}

} // namespace

GroupExtent correctionGroupCount(std::uint64_t width, std::uint64_t height) {
    return {(width + correctionGroupSize.width - 1) / correctionGroupSize.width,
            (height + correctionGroupSize.height - 1) / correctionGroupSize.height, 1};
}

Transform modelViewTransform(VideoGravity gravity, std::uint64_t width, std::uint64_t height,
                             ViewportSize viewport) {
    if (width == 0 || height == 0 || viewport.width == 0 || viewport.height == 0) return identityTransform;
    // Aspects in single precision, factors in double: the factors are exactly 1 if both aspects are equal.
    const float imageAspect = float(width) / float(height);
    const float viewAspect = float(viewport.width) / float(viewport.height);
    const double imageToView = double(imageAspect) / double(viewAspect);
    const double viewToImage = double(viewAspect) / double(imageAspect);
    switch (gravity) {
        case VideoGravity::resize:
            return identityTransform;
        case VideoGravity::resizeAspectFill:
            return imageAspect > viewAspect ? scaled(imageToView, 1) : scaled(1, viewToImage);
        case VideoGravity::resizeAspect:
            break;
    }
    return imageAspect > viewAspect ? scaled(1, viewToImage) : scaled(imageToView, 1);
}

} // namespace tavelo
