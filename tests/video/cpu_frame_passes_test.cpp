// SPDX-License-Identifier: MIT
#include "video/cpu/cpu_frame_passes.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>

#include "passes_harness.h"

namespace tavelo::testing {
namespace {

// Two steps of 255, for eight-bit bilinear weights and two roundings.
constexpr int tolerance = 2;

PassesResult runCpu(const ReferenceCase& one, std::size_t bytesPerRow) {
    CpuFramePasses passes;
    QImage target(one.viewWidth, one.viewHeight, QImage::Format_RGB32);
    target.fill(Qt::magenta);
    passes.setTarget({target.bits(), std::size_t(one.viewWidth), std::size_t(one.viewHeight),
                      std::size_t(target.bytesPerLine())});
    return runPasses(passes, one, bytesPerRow, [&] { return target; });
}

TEST(CpuFramePasses, DrawsTheReferencePictures) {
    for (const ReferenceCase& one : referenceCases()) {
        const PassesResult result = runCpu(one, std::size_t(one.width) * 4);
        const Difference difference = compare(result.displayed, loadReference(one));
        EXPECT_LE(difference.largest, tolerance) << referenceName(one).toStdString() << " at "
                                                 << difference.where.x() << ", " << difference.where.y();
    }
}

TEST(CpuFramePasses, DrawsLargePicturesLikeTheReference) {
    for (const ReferenceCase& one : largeCases())
        EXPECT_LE(compare(runCpu(one, std::size_t(one.width) * 4).displayed, drawReference(one)).largest,
                  tolerance);
}

// Only tested here because the OpenGL standard lets GPUs choose which edge is included.
TEST(CpuFramePasses, EdgeThroughPixelCentresIsInAtTheTopAndLeftOnly) {
    for (const ReferenceCase& one : {ReferenceCase{64, 48, 32, 35, VideoGravity::resizeAspect, false, false},
                                     ReferenceCase{48, 64, 35, 32, VideoGravity::resizeAspect, true, false}})
        EXPECT_LE(compare(runCpu(one, std::size_t(one.width) * 4).displayed, drawReference(one)).largest,
                  tolerance);
}

TEST(CpuFramePasses, CorrectedFrameIsTheFrameMirroredExactly) {
    for (const ReferenceCase& one : referenceCases())
        EXPECT_EQ(runCpu(one, std::size_t(one.width) * 4).corrected, expectedCorrected(one));
}

TEST(CpuFramePasses, PaddedRowsMakeNoDifference) {
    const ReferenceCase one{61, 37, 97, 83, VideoGravity::resizeAspect, true, true};
    const PassesResult result = runCpu(one, 320);
    EXPECT_EQ(result.corrected, expectedCorrected(one));
    EXPECT_LE(compare(result.displayed, loadReference(one)).largest, tolerance);
}

TEST(CpuFramePasses, DisplaysOpaqueBlackWithoutAFrame) {
    CpuFramePasses passes;
    QImage target(9, 5, QImage::Format_ARGB32);
    target.fill(Qt::transparent);
    passes.setTarget({target.bits(), 9, 5, std::size_t(target.bytesPerLine())});
    passes.display(nullptr, {9, 5}, FloatMatrix{});
    QImage black(9, 5, QImage::Format_ARGB32);
    black.fill(Qt::black);
    EXPECT_EQ(target, black);
}

TEST(CpuFramePasses, DisplayedPixelsAreOpaqueWhateverTheFrameSays) {
    CpuFramePasses passes;
    const FramePicture zeroed = passes.makePicture(PictureUse::correctedFrame, 4, 4, 16); // alpha is 0 too
    QImage target(4, 4, QImage::Format_ARGB32);
    target.fill(Qt::transparent);
    passes.setTarget({target.bits(), 4, 4, 16});
    passes.display(zeroed.texture.get(), {4, 4}, matrixOf({4, 4, 4, 4}));
    EXPECT_EQ(target.pixel(2, 2), 0xFF000000U);
}

TEST(CpuFramePasses, TheOutermostPixelsAreNotMixedWithOthers) {
    CpuFramePasses passes;
    const FramePicture picture = passes.makePicture(PictureUse::correctedFrame, 2, 2, 8);
    for (std::size_t row = 0; row < 2; ++row)
        std::fill_n(picture.pixelBuffer->baseAddress() + row * 8 + 4, 4, std::uint8_t(255));
    QImage target(64, 64, QImage::Format_RGB32);
    passes.setTarget({target.bits(), 64, 64, std::size_t(target.bytesPerLine())});
    passes.display(picture.texture.get(), {64, 64}, matrixOf({2, 2, 64, 64}));
    for (const int x : {0, 15})
        EXPECT_EQ(target.pixel(x, 32), 0xFF000000U) << x;
    for (const int x : {48, 63})
        EXPECT_EQ(target.pixel(x, 32), 0xFFFFFFFFU) << x;
}

TEST(CpuFramePasses, RefusesAPictureBeyondWhatItCanCount) {
    CpuFramePasses passes;
    const FramePicture picture =
        passes.makePicture(PictureUse::cameraFrame, 1, 2, std::numeric_limits<int>::max());
    EXPECT_EQ(picture.pixelBuffer, nullptr);
    EXPECT_EQ(picture.texture, nullptr);
}

} // namespace
} // namespace tavelo::testing
