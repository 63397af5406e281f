// SPDX-License-Identifier: MIT
// Runs the test picture through both passes and returns the results.
#pragma once

#include <QImage>
#include <algorithm>
#include <cstring>
#include <memory>

#include "reference_case.h"
#include "test_picture.h"
#include "video/passes/frame_passes.h"

namespace tavelo::testing {

/// The corrected frame in CPU memory, and the target of the display pass.
struct PassesResult {
    QImage corrected;
    QImage displayed;
};

inline QImage toImage(const PixelBuffer& buffer) {
    QImage image(int(buffer.width()), int(buffer.height()), QImage::Format_RGB32);
    const auto lock = buffer.lock();
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(image.scanLine(y), buffer.baseAddress() + std::size_t(y) * buffer.bytesPerRow(),
                    std::size_t(image.width()) * 4);
    return image;
}

inline FloatMatrix matrixOf(const ReferenceCase& one) {
    const Transform transform =
        modelViewTransform(one.gravity, std::uint64_t(one.width), std::uint64_t(one.height),
                           {std::uint32_t(one.viewWidth), std::uint32_t(one.viewHeight)});
    FloatMatrix matrix{};
    std::transform(transform.begin(), transform.end(), matrix.begin(),
                   [](double element) { return float(element); });
    return matrix;
}

/// @param readTarget called after the display pass; gives its target as a picture
template <typename ReadTarget>
PassesResult runPasses(FramePasses& passes, const ReferenceCase& one, std::size_t bytesPerRow,
                       const ReadTarget& readTarget) {
    const auto width = std::size_t(one.width);
    const auto height = std::size_t(one.height);
    const FramePicture frame = passes.makePicture(PictureUse::cameraFrame, width, height, bytesPerRow);
    const FramePicture corrected = passes.makePicture(PictureUse::correctedFrame, width, height, bytesPerRow);
    if (!frame.texture || !corrected.texture) return {};
    drawTestPicture(*frame.pixelBuffer);

    CorrectionParameters parameters;
    parameters.shouldFlipHorizontal = one.flipHorizontal ? 1 : 0;
    parameters.shouldFlipVertical = one.flipVertical ? 1 : 0;
    passes.correct(*frame.texture, *corrected.texture, parameters, correctionGroupCount(width, height));
    passes.display(corrected.texture.get(), {std::uint32_t(one.viewWidth), std::uint32_t(one.viewHeight)},
                   matrixOf(one));
    return {toImage(*corrected.pixelBuffer), readTarget()};
}

/// The test picture, mirrored according to the case.
inline QImage expectedCorrected(const ReferenceCase& one) {
    return toImage(*makeTestPicture(std::size_t(one.width), std::size_t(one.height)))
        .mirrored(one.flipHorizontal, one.flipVertical);
}

/// Large pictures, drawn at test time: the panel's own sizes, scaled down and up.
inline std::vector<ReferenceCase> largeCases() {
    return {{1280, 720, 536, 301, VideoGravity::resizeAspect, true, false},
            {640, 480, 1072, 603, VideoGravity::resizeAspectFill, false, true}};
}

} // namespace tavelo::testing
