// SPDX-License-Identifier: MIT
#include "platform/linux/movie/picture_converter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace tavelo {
namespace {

using Size = std::pair<std::size_t, std::size_t>;

AvFrame movieFrame(int width, int height) {
    AvFrame frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_NV12;
    frame->width = width;
    frame->height = height;
    EXPECT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    return frame;
}

/// Black, with white columns from `begin` to before `end`.
std::shared_ptr<PixelBuffer> stripe(std::size_t width, std::size_t height, std::size_t begin,
                                    std::size_t end) {
    auto picture = PixelBuffer::create(PixelFormat::bgra32, width, height);
    for (std::size_t y = 0; y < height; ++y) {
        std::uint8_t* const row = picture->baseAddress() + y * picture->bytesPerRow();
        std::fill(row + begin * 4, row + end * 4, std::uint8_t(255));
    }
    return picture;
}

constexpr int black = 16; // of limited range
constexpr int white = 235;

int lumaOf(const AVFrame& frame, int x, int y) {
    return frame.data[0][y * frame.linesize[0] + x];
}

TEST(PictureConverter, AnExtraColumnOrRowIsCutOffAndNothingIsScaled) {
    const AvFrame frame = movieFrame(32, 16);
    PictureConverter converter(32, 16);
    for (const auto& [width, height] : {Size(32, 16), Size(33, 16), Size(32, 17)}) {
        ASSERT_TRUE(converter.convert(*stripe(width, height, 31, 32), *frame));
        EXPECT_EQ(lumaOf(*frame, 30, 15), black) << width << "x" << height;
        EXPECT_EQ(lumaOf(*frame, 31, 15), white) << width << "x" << height;
    }
    ASSERT_TRUE(converter.convert(*stripe(34, 17, 31, 32), *frame));
    EXPECT_NE(lumaOf(*frame, 30, 15), black) << "two columns more are scaled";
}

TEST(PictureConverter, APictureOfAnotherShapeLosesAsMuchOnBothSides) {
    const AvFrame frame = movieFrame(32, 32);
    PictureConverter converter(32, 32);
    ASSERT_TRUE(converter.convert(*stripe(128, 64, 32, 96), *frame));
    for (const int x : {0, 31})
        EXPECT_EQ(lumaOf(*frame, x, 16), white) << x;
    ASSERT_TRUE(converter.convert(*stripe(64, 128, 0, 32), *frame));
    EXPECT_EQ(lumaOf(*frame, 15, 16), white);
    EXPECT_EQ(lumaOf(*frame, 16, 16), black);
}

TEST(PictureConverter, ALineOfOnePixelFillsTheMovieToo) {
    const AvFrame wide = movieFrame(32, 16);
    const AvFrame tall = movieFrame(16, 32);
    for (const auto& [width, height] : {Size(1, 1), Size(1, 400), Size(401, 1)}) {
        const auto picture = stripe(width, height, width / 2, width / 2 + 1);
        ASSERT_TRUE(PictureConverter(16, 32).convert(*picture, *tall));
        EXPECT_EQ(lumaOf(*tall, 0, 16), white) << width << "x" << height;
        if (height == 1 && width > 1) continue; // of a movie that is wider, one column is not all
        ASSERT_TRUE(PictureConverter(32, 16).convert(*picture, *wide));
        EXPECT_EQ(lumaOf(*wide, 0, 8), white) << width << "x" << height;
    }
}

TEST(PictureConverter, RefusesOtherFormatsAndPicturesOfNothing) {
    const AvFrame frame = movieFrame(32, 16);
    PictureConverter converter(32, 16);
    EXPECT_FALSE(converter.convert(*PixelBuffer::create(PixelFormat::nv12, 32, 16), *frame));
    std::uint8_t pixel = 0;
    for (const auto& [width, height] : {Size(0, 16), Size(32, 0)}) {
        const PixelBuffer nothing(PixelFormat::bgra32, width, height, {{&pixel, 0, 0, 0}}, nullptr);
        EXPECT_FALSE(converter.convert(nothing, *frame));
    }
}

} // namespace
} // namespace tavelo
