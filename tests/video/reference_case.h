// SPDX-License-Identifier: MIT
// What the reference pictures show, and how one is drawn in double precision.
#pragma once

#include <QImage>
#include <QString>
#include <vector>

#include "video/passes/frame_geometry.h"

namespace tavelo::testing {

struct ReferenceCase {
    int width = 0; ///< of the camera's frame
    int height = 0;
    int viewWidth = 0;
    int viewHeight = 0;
    VideoGravity gravity = VideoGravity::resizeAspect;
    bool flipHorizontal = false;
    bool flipVertical = false;
};

/// "61x37-in-97x83-aspect-h.png"
QString referenceName(const ReferenceCase& one);

/// Every picture of tests/video/reference.
std::vector<ReferenceCase> referenceCases();

/// Draws the test picture the slow and plain way; no code of the passes, of their geometry neither.
QImage drawReference(const ReferenceCase& one);

/// The picture from tests/video/reference.
QImage loadReference(const ReferenceCase& one);

/// The largest difference of a channel, alpha left out, and where; 256 for pictures of different sizes.
struct Difference {
    int largest = 0;
    QPoint where;
};
Difference compare(const QImage& a, const QImage& b);

} // namespace tavelo::testing
