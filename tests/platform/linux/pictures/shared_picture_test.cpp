// SPDX-License-Identifier: MIT
// Pictures for other programs, byte by byte.
#include "platform/linux/pictures/shared_picture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <vector>

namespace tavelo {
namespace {

using ::testing::Each;

constexpr std::uint8_t untouched = 77;

/// Its movie's picture has another value at each place.
class PatternFrame final : public CameraFrame {
public:
    PatternFrame(std::size_t width, std::size_t height) : width_(width), height_(height) {}

    static std::uint8_t luma(std::size_t x, std::size_t y) { return std::uint8_t(x * 7 + y * 31 + 1); }
    static std::uint8_t chroma(std::size_t pair, std::size_t row, std::size_t which) {
        return std::uint8_t(pair * 11 + row * 17 + which * 100 + 3);
    }

    std::size_t width() const override { return width_; }
    std::size_t height() const override { return height_; }
    bool draw(const PixelBuffer&) const override { return false; }
    bool hasMoviePicture() const override { return has; }
    void drawForMovie(const MoviePlanes& to, Mirroring mirroring) const override {
        asked = mirroring;
        for (std::size_t y = 0; y < height_; ++y)
            for (std::size_t x = 0; x < width_; ++x)
                to.luma.baseAddress[y * to.luma.bytesPerRow + x] = luma(x, y);
        for (std::size_t y = 0; y < height_ / 2; ++y)
            for (std::size_t x = 0; x < width_; ++x)
                to.chroma.baseAddress[y * to.chroma.bytesPerRow + x] = chroma(x / 2, y, x % 2);
    }

    bool has = true;
    mutable Mirroring asked;

private:
    std::size_t width_;
    std::size_t height_;
};

class SharedPictureTest : public ::testing::Test {
protected:
    bool draw(const SampleBuffer& sample, const SharedLayout& layout) {
        memory_.assign(layout.bytes() + 1, untouched);
        const bool drawn = drawer_.draw(sample, layout, memory_.data());
        EXPECT_EQ(memory_.back(), untouched) << "it wrote beyond the end";
        return drawn;
    }
    bool drawFrame(const std::shared_ptr<PatternFrame>& frame, const SharedLayout& layout) {
        return draw({nullptr, {}, nullptr, frame, nullptr, {true, false}}, layout);
    }
    static std::shared_ptr<PixelBuffer> picture(std::size_t width, std::size_t height,
                                                std::array<std::uint8_t, 4> bgra) {
        auto made = PixelBuffer::create(PixelFormat::bgra32, width, height);
        for (std::size_t y = 0; y < height; ++y)
            for (std::size_t x = 0; x < width; ++x)
                std::ranges::copy(bgra, made->baseAddress() + y * made->bytesPerRow() + x * 4);
        return made;
    }
    std::array<int, 3> pixel(std::size_t x, std::size_t y, std::size_t bytesPerRow) const {
        const std::uint8_t* const at = memory_.data() + y * bytesPerRow + x * 4;
        return {at[0], at[1], at[2]};
    }

    /// Scaling may round down.
    bool isColour(std::size_t x, std::size_t y, std::array<int, 3> colour) const {
        const auto seen = pixel(x, y, 160);
        return std::ranges::equal(seen, colour, [](int a, int b) { return std::abs(a - b) <= 1; });
    }

    SharedPictureDrawer drawer_;
    std::vector<std::uint8_t> memory_;
};

TEST_F(SharedPictureTest, LayoutsAreThoseThatProgramsExpect) {
    const FrameSize size{6, 4};
    const auto layout = [size](SharedFormat format) { return SharedLayout{format, size}; };
    EXPECT_EQ(layout(SharedFormat::nv12).bytesPerRow(), 8U);
    EXPECT_EQ(layout(SharedFormat::nv12).bytes(), 8U * 6);
    EXPECT_EQ(layout(SharedFormat::i420).bytesPerRow(), 8U);
    EXPECT_EQ(layout(SharedFormat::i420).bytes(), 8U * 4 + 2 * 4 * 2);
    EXPECT_EQ(layout(SharedFormat::yuy2).bytesPerRow(), 12U);
    EXPECT_EQ(layout(SharedFormat::yuy2).bytes(), 12U * 4);
    EXPECT_EQ(layout(SharedFormat::bgrx).bytesPerRow(), 24U);
    EXPECT_EQ(layout(SharedFormat::bgrx).bytes(), 24U * 4);
}

TEST_F(SharedPictureTest, ACameraFrameIsDrawnIntoNv12AsItIs) {
    const auto frame = std::make_shared<PatternFrame>(6, 4);
    ASSERT_TRUE(drawFrame(frame, {SharedFormat::nv12, {6, 4}}));
    EXPECT_EQ(frame->asked, (Mirroring{true, false}));
    for (std::size_t y = 0; y < 4; ++y)
        for (std::size_t x = 0; x < 6; ++x) {
            EXPECT_EQ(memory_[y * 8 + x], PatternFrame::luma(x, y));
            EXPECT_EQ(memory_[(4 + y / 2) * 8 + x], PatternFrame::chroma(x / 2, y / 2, x % 2));
        }
}

TEST_F(SharedPictureTest, ACameraFrameIsDrawnIntoI420) {
    ASSERT_TRUE(drawFrame(std::make_shared<PatternFrame>(6, 4), {SharedFormat::i420, {6, 4}}));
    for (std::size_t y = 0; y < 4; ++y)
        for (std::size_t x = 0; x < 6; ++x) {
            EXPECT_EQ(memory_[y * 8 + x], PatternFrame::luma(x, y));
            EXPECT_EQ(memory_[32 + y / 2 * 4 + x / 2], PatternFrame::chroma(x / 2, y / 2, 0));
            EXPECT_EQ(memory_[40 + y / 2 * 4 + x / 2], PatternFrame::chroma(x / 2, y / 2, 1));
        }
}

TEST_F(SharedPictureTest, ACameraFrameIsDrawnIntoYuy2) {
    ASSERT_TRUE(drawFrame(std::make_shared<PatternFrame>(6, 4), {SharedFormat::yuy2, {6, 4}}));
    for (std::size_t y = 0; y < 4; ++y)
        for (std::size_t x = 0; x < 6; ++x) {
            EXPECT_EQ(memory_[y * 12 + x * 2], PatternFrame::luma(x, y));
            EXPECT_EQ(memory_[y * 12 + x * 2 + 1], PatternFrame::chroma(x / 2, y / 2, x % 2));
        }
}

TEST_F(SharedPictureTest, AFrameThatDoesNotFitDrawsNothing) {
    const auto frame = std::make_shared<PatternFrame>(6, 4);
    EXPECT_FALSE(drawFrame(frame, {SharedFormat::nv12, {8, 4}}));
    EXPECT_THAT(memory_, Each(untouched));
    EXPECT_FALSE(drawFrame(frame, {SharedFormat::nv12, {6, 6}}));
    EXPECT_FALSE(drawFrame(frame, {SharedFormat::bgrx, {6, 4}}));
    frame->has = false;
    EXPECT_FALSE(drawFrame(frame, {SharedFormat::nv12, {6, 4}}));
    EXPECT_FALSE(draw(SampleBuffer(), {SharedFormat::nv12, {6, 4}}));
}

TEST_F(SharedPictureTest, AWholePictureIsCopiedByteByByte) {
    const auto whole = PixelBuffer::create(PixelFormat::bgra32, 6, 4);
    for (std::size_t i = 0; i < whole->bytesPerRow() * 4; ++i)
        whole->baseAddress()[i] = std::uint8_t(i * 13);
    ASSERT_TRUE(draw({whole, {}}, {SharedFormat::bgrx, {6, 4}}));
    for (std::size_t y = 0; y < 4; ++y)
        EXPECT_TRUE(std::equal(memory_.data() + y * 24, memory_.data() + y * 24 + 24,
                               whole->baseAddress() + y * whole->bytesPerRow()));
}

TEST_F(SharedPictureTest, AWholePictureTurnsIntoLimitedRange) {
    // Red: luma 81, blue chroma 90, red chroma 240.
    const auto red = picture(6, 4, {0, 0, 255, 255});
    const auto isNear = [](int value, int expected) { return std::abs(value - expected) <= 2; };
    ASSERT_TRUE(draw({red, {}}, {SharedFormat::nv12, {6, 4}}));
    EXPECT_TRUE(isNear(memory_[0], 81) && isNear(memory_[32], 90) && isNear(memory_[33], 240));
    ASSERT_TRUE(draw({red, {}}, {SharedFormat::i420, {6, 4}}));
    EXPECT_TRUE(isNear(memory_[29], 81) && isNear(memory_[32], 90) && isNear(memory_[40], 240));
    ASSERT_TRUE(draw({red, {}}, {SharedFormat::yuy2, {6, 4}}));
    EXPECT_TRUE(isNear(memory_[46], 81) && isNear(memory_[1], 90) && isNear(memory_[3], 240));
}

TEST_F(SharedPictureTest, APictureOfAnotherSizeIsBetweenBlackBars) {
    // Twice as wide as high, in a square: half of the height is black, a quarter at each end.
    ASSERT_TRUE(draw({picture(20, 10, {10, 20, 30, 255}), {}}, {SharedFormat::bgrx, {40, 40}}));
    const std::array black{0, 0, 0};
    const std::array colour{10, 20, 30};
    EXPECT_EQ(pixel(20, 9, 160), black);
    EXPECT_TRUE(isColour(0, 10, colour));
    EXPECT_TRUE(isColour(39, 29, colour));
    EXPECT_EQ(pixel(20, 30, 160), black);
}

TEST_F(SharedPictureTest, TheBarsAreBlackAgainAfterAPictureOfAnotherShape) {
    const SharedLayout square{SharedFormat::bgrx, {40, 40}};
    ASSERT_TRUE(draw({picture(20, 10, {10, 20, 30, 255}), {}}, square));
    ASSERT_TRUE(draw({picture(10, 20, {40, 50, 60, 255}), {}}, square));
    EXPECT_EQ(pixel(9, 20, 160), (std::array{0, 0, 0}));
    EXPECT_TRUE(isColour(10, 0, {40, 50, 60}));
    EXPECT_EQ(pixel(30, 39, 160), (std::array{0, 0, 0}));
}

} // namespace
} // namespace tavelo
