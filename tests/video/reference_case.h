// SPDX-License-Identifier: MIT
// The reference pictures and how they are drawn, in double precision.
#pragma once

#include <QImage>
#include <QString>
#include <vector>

#include "video/passes/frame_geometry.h"

namespace tavelo::testing {

struct ReferenceCase {
    int width = 0; ///< size of the camera's frame
    int height = 0;
    int viewWidth = 0;
    int viewHeight = 0;
    VideoGravity gravity = VideoGravity::resizeAspect;
    bool flipHorizontal = false;
    bool flipVertical = false;
};

/// "61x37-in-97x83-aspect-h.png"
QString referenceName(const ReferenceCase& one);

/// All pictures of tests/video/reference.
std::vector<ReferenceCase> referenceCases();

/// Draws the test picture in a slow and simple way; shares no code with the passes or their geometry.
QImage drawReference(const ReferenceCase& one);

/// The picture from tests/video/reference.
QImage loadReference(const ReferenceCase& one);

/// The largest difference of a channel except alpha, and its position; 256 for pictures of different sizes.
struct Difference {
    int largest = 0;
    QPoint where;
};
Difference compare(const QImage& a, const QImage& b);

} // namespace tavelo::testing
