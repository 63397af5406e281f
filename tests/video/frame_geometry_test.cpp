// SPDX-License-Identifier: MIT
#include "video/passes/frame_geometry.h"

#include <gmock/gmock.h>

#include <cstring>

namespace tavelo {
namespace {

using ::testing::ElementsAre;
using enum VideoGravity;

struct Scale {
    double x = 0;
    double y = 0;
    double z = 0;

    friend bool operator==(const Scale&, const Scale&) = default;
};

Scale scaleOf(const Transform& transform) {
    return {transform[0], transform[5], transform[10]};
}

TEST(FrameGeometry, WideFrameInASquareViewIsLetterBoxed) {
    // 16:9 is not exact in single precision; the factor is computed from the nearest float.
    const double expected = 1.0 / double(1280.0F / 720.0F);
    EXPECT_EQ(scaleOf(modelViewTransform(resizeAspect, 1280, 720, {1000, 1000})), (Scale{1, expected, 1}));
    EXPECT_NEAR(expected, 0.5625, 1e-7);
}

TEST(FrameGeometry, WideFrameFillsASquareView) {
    const auto expected = double(1280.0F / 720.0F);
    EXPECT_EQ(scaleOf(modelViewTransform(resizeAspectFill, 1280, 720, {1000, 1000})),
              (Scale{expected, 1, 1}));
    EXPECT_NEAR(expected, 1.7778, 1e-4);
}

TEST(FrameGeometry, ResizeStretchesToFill) {
    EXPECT_EQ(modelViewTransform(resize, 1280, 720, {1000, 1000}), identityTransform);
}

TEST(FrameGeometry, TallFrameInAWideView) {
    const double narrow = double(0.75F) / 2;
    EXPECT_EQ(scaleOf(modelViewTransform(resizeAspect, 300, 400, {800, 400})), (Scale{narrow, 1, 1}));
    EXPECT_EQ(scaleOf(modelViewTransform(resizeAspectFill, 300, 400, {800, 400})), (Scale{1, 1 / narrow, 1}));
}

TEST(FrameGeometry, EqualAspectsAreOneInBothAspectModes) {
    EXPECT_EQ(scaleOf(modelViewTransform(resizeAspect, 1280, 720, {640, 360})), (Scale{1, 1, 1}));
    EXPECT_EQ(scaleOf(modelViewTransform(resizeAspectFill, 1280, 720, {640, 360})), (Scale{1, 1, 1}));
    EXPECT_EQ(modelViewTransform(resizeAspect, 1920, 1080, {1280, 720}), identityTransform);
}

TEST(FrameGeometry, AspectsAreSinglePrecisionAndFactorsDouble) {
    const float imageAspect = 1280.0F / 720.0F;
    const float viewAspect = 536.0F / 301.0F;
    const double factor = double(imageAspect) / double(viewAspect);
    EXPECT_EQ(scaleOf(modelViewTransform(resizeAspect, 1280, 720, {536, 301})), (Scale{factor, 1, 1}));
    EXPECT_NE(factor, (1280.0 / 720.0) / (536.0 / 301.0));
    EXPECT_NE(factor, double(imageAspect / viewAspect));
}

TEST(FrameGeometry, AnySideOfZeroIsIdentity) {
    for (const VideoGravity gravity : {resize, resizeAspect, resizeAspectFill}) {
        EXPECT_EQ(modelViewTransform(gravity, 1280, 720, {0, 0}), identityTransform);
        EXPECT_EQ(modelViewTransform(gravity, 1280, 720, {0, 5}), identityTransform);
        EXPECT_EQ(modelViewTransform(gravity, 1280, 720, {5, 0}), identityTransform);
        EXPECT_EQ(modelViewTransform(gravity, 0, 720, {5, 5}), identityTransform);
        EXPECT_EQ(modelViewTransform(gravity, 1280, 0, {5, 5}), identityTransform);
    }
}

TEST(FrameGeometry, GroupCountIsRoundedUp) {
    EXPECT_EQ(correctionGroupCount(1920, 1080), (GroupExtent{120, 68, 1}));
    EXPECT_EQ(correctionGroupCount(16, 16), (GroupExtent{1, 1, 1}));
    EXPECT_EQ(correctionGroupCount(17, 1), (GroupExtent{2, 1, 1}));
    EXPECT_EQ(correctionGroupSize, (GroupExtent{16, 16, 1}));
}

TEST(FrameGeometry, CorrectionParametersLieWhereTheShaderReadsThem) {
    CorrectionParameters parameters;
    parameters.shouldFlipHorizontal = 1;
    std::array<std::uint8_t, 12> bytes{};
    std::memcpy(bytes.data(), &parameters, sizeof(parameters));
    EXPECT_THAT(bytes, ElementsAre(0, 0, 0, 0, 0, 0, 0x80, 0x3F, 1, 0, 0, 0));
    parameters = {};
    parameters.shouldFlipVertical = 1;
    std::memcpy(bytes.data(), &parameters, sizeof(parameters));
    EXPECT_THAT(bytes, ElementsAre(0, 0, 0, 0, 0, 0, 0x80, 0x3F, 0, 1, 0, 0));
}

TEST(FrameGeometry, QuadPutsTheFirstRowAtTheTop) {
    ASSERT_EQ(quadVertices.size(), 6U);
    EXPECT_EQ(sizeof(QuadVertex), 32U);
    std::array<float, 48> floats{};
    std::memcpy(floats.data(), quadVertices.data(), sizeof(quadVertices));
    // clang-format off
    EXPECT_THAT(floats, ElementsAre( 1, -1, 0, 1, 1, 1, 0, 0,
                                    -1, -1, 0, 1, 0, 1, 0, 0,
                                    -1,  1, 0, 1, 0, 0, 0, 0,
                                     1, -1, 0, 1, 1, 1, 0, 0,
                                    -1,  1, 0, 1, 0, 0, 0, 0,
                                     1,  1, 0, 1, 1, 0, 0, 0));
    // clang-format on
}

} // namespace
} // namespace tavelo
