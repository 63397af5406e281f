// SPDX-License-Identifier: MIT
#include "platform/linux/pictures/frame_converter.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "test_pictures.h"

namespace tavelo {
namespace {

struct Yuv {
    std::uint8_t y = 0;
    std::uint8_t u = 0;
    std::uint8_t v = 0;
};

// Pure red in each of the encodings.
constexpr Yuv red601{81, 90, 240};
constexpr Yuv red601Full{76, 85, 255};
constexpr Yuv red709{63, 102, 240};
constexpr Bgr red{0, 0, 255};

// A frame of one colour as a camera sends it, with `padding` extra bytes per row.
Bytes frame(Fourcc format, std::uint32_t width, std::uint32_t height, Yuv colour, std::uint32_t padding = 0) {
    const std::uint32_t pairs = (width + 1) / 2;
    const std::uint32_t chromaRows = (height + 1) / 2;
    Bytes bytes;
    const auto row = [&](std::initializer_list<std::uint8_t> pattern, std::uint32_t repeat,
                         std::uint32_t extra) {
        for (std::uint32_t i = 0; i < repeat; ++i)
            bytes.insert(bytes.end(), pattern);
        bytes.insert(bytes.end(), extra, 0xEE);
    };
    for (std::uint32_t y = 0; y < height; ++y) {
        if (format == fourcc::yuyv) row({colour.y, colour.u, colour.y, colour.v}, pairs, padding);
        if (format == fourcc::uyvy) row({colour.u, colour.y, colour.v, colour.y}, pairs, padding);
        if (format == fourcc::grey) row({colour.y}, width, padding);
        if (format == fourcc::nv12 || format == fourcc::i420) row({colour.y}, pairs * 2, padding);
    }
    for (std::uint32_t y = 0; y < chromaRows; ++y) {
        if (format == fourcc::nv12) row({colour.u, colour.v}, pairs, padding);
        if (format == fourcc::i420) row({colour.u}, pairs, padding / 2);
    }
    for (std::uint32_t y = 0; y < chromaRows; ++y)
        if (format == fourcc::i420) row({colour.v}, pairs, padding / 2);
    return bytes;
}

std::uint32_t rowBytes(Fourcc format, std::uint32_t width) {
    if (format == fourcc::yuyv || format == fourcc::uyvy) return (width + 1) / 2 * 4;
    return format == fourcc::grey ? width : (width + 1) / 2 * 2;
}

class FrameConverterRaw : public testing::TestWithParam<Fourcc> {};

TEST_P(FrameConverterRaw, GivesTheColourInEveryCorner) {
    FrameConverter converter;
    ASSERT_TRUE(converter.setFormat({GetParam(), {32, 18}, 0, YuvMatrix::bt601, false}));
    const auto picture = converter.convert(frame(GetParam(), 32, 18, red601));
    ASSERT_TRUE(picture);
    const Bgr expected = GetParam() == fourcc::grey ? Bgr{76, 76, 76} : red;
    for (const std::size_t x : {0U, 31U})
        for (const std::size_t y : {0U, 17U})
            EXPECT_LE(distance(pixelOf(*picture, x, y), expected), 3) << x << ", " << y;
    EXPECT_EQ(alphaOf(*picture, 31, 17), 255);
}

TEST_P(FrameConverterRaw, SkipsThePaddingOfRows) {
    FrameConverter converter;
    ASSERT_TRUE(converter.setFormat({GetParam(), {30, 18}, rowBytes(GetParam(), 30) + 34}));
    const auto picture = converter.convert(frame(GetParam(), 30, 18, red601, 34));
    ASSERT_TRUE(picture);
    EXPECT_LE(distance(pixelOf(*picture, 29, 17), pixelOf(*picture, 0, 0)), 0);
    EXPECT_GT(pixelOf(*picture, 29, 17).red, 70);
}

TEST_P(FrameConverterRaw, HandlesOddSizes) {
    FrameConverter converter;
    ASSERT_TRUE(converter.setFormat({GetParam(), {31, 17}, 0}));
    const auto picture = converter.convert(frame(GetParam(), 31, 17, red601));
    ASSERT_TRUE(picture);
    EXPECT_LE(distance(pixelOf(*picture, 30, 16), pixelOf(*picture, 0, 0)), 0);
}

TEST_P(FrameConverterRaw, DropsAFrameOneByteShort) {
    FrameConverter converter;
    for (const std::uint32_t width : {32U, 31U}) {
        ASSERT_TRUE(converter.setFormat({GetParam(), {width, 18}, 0}));
        Bytes bytes = frame(GetParam(), width, 18, red601);
        bytes.shrink_to_fit(); // so that a sanitizer detects a read past the end
        EXPECT_TRUE(converter.convert(bytes));
        EXPECT_FALSE(converter.convert(std::span(bytes).first(bytes.size() - 1)));
        EXPECT_FALSE(converter.convert({}));
    }
}

INSTANTIATE_TEST_SUITE_P(All, FrameConverterRaw,
                         testing::Values(fourcc::yuyv, fourcc::uyvy, fourcc::nv12, fourcc::i420,
                                         fourcc::grey),
                         [](const auto& tested) { return fourccText(tested.param); });

struct ColourCase {
    YuvMatrix matrix;
    bool fullRange;
    Yuv colour;
};

class FrameConverterColour : public testing::TestWithParam<ColourCase> {};

TEST_P(FrameConverterColour, FollowsWhatTheDriverSays) {
    for (const Fourcc format : {fourcc::yuyv, fourcc::uyvy, fourcc::nv12, fourcc::i420}) {
        FrameConverter converter;
        ASSERT_TRUE(converter.setFormat({format, {32, 16}, 0, GetParam().matrix, GetParam().fullRange}));
        const auto picture = converter.convert(frame(format, 32, 16, GetParam().colour));
        ASSERT_TRUE(picture);
        EXPECT_LE(distance(pixelOf(*picture, 5, 5), red), 4) << fourccText(format);
    }
}

INSTANTIATE_TEST_SUITE_P(All, FrameConverterColour,
                         testing::Values(ColourCase{YuvMatrix::bt601, false, red601},
                                         ColourCase{YuvMatrix::bt601, true, red601Full},
                                         ColourCase{YuvMatrix::bt709, false, red709}));

TEST(FrameConverter, ShowsFullRangeGreyAsItIs) {
    FrameConverter converter;
    ASSERT_TRUE(converter.setFormat({fourcc::grey, {16, 16}, 0, YuvMatrix::bt601, true}));
    const auto picture = converter.convert(Bytes(256, 10));
    ASSERT_TRUE(picture);
    EXPECT_LE(distance(pixelOf(*picture, 0, 0), {10, 10, 10}), 0);
}

TEST(FrameConverter, RefusesFormatsAndSizesWithoutSense) {
    FrameConverter converter;
    EXPECT_FALSE(converter.setFormat({makeFourcc('H', '2', '6', '4'), {640, 480}, 0}));
    EXPECT_FALSE(converter.setFormat({fourcc::yuyv, {0, 480}, 0}));
    EXPECT_FALSE(converter.setFormat({fourcc::mjpeg, {640, 0}, 0}));
    EXPECT_FALSE(converter.setFormat({fourcc::yuyv, {1U << 31U, 480}, 0}));
    EXPECT_FALSE(converter.setFormat({fourcc::yuyv, {640, 480}, 0xFFFFFFFF}));
    EXPECT_FALSE(converter.convert(Bytes(614400)));
}

TEST(FrameConverter, DecodesJpegInItsOwnSize) {
    FrameConverter converter;
    ASSERT_TRUE(converter.setFormat({fourcc::mjpeg, {64, 48}, 0}));
    const auto agreed = converter.convert(noisyJpeg(64, 48));
    ASSERT_TRUE(agreed);
    EXPECT_EQ(agreed->height(), 48U);
    const auto other = converter.convert(noisyJpeg(32, 24));
    ASSERT_TRUE(other);
    EXPECT_EQ(other->width(), 32U);
    EXPECT_EQ(other->height(), 24U);
}

TEST(FrameConverter, DropsAJpegThatClaimsAnAbsurdSize) {
    FrameConverter converter;
    ASSERT_TRUE(converter.setFormat({fourcc::mjpeg, {64, 48}, 0}));
    EXPECT_FALSE(converter.convert(noisyJpeg(2000, 1100)));
    ASSERT_TRUE(converter.setFormat({fourcc::mjpeg, {1280, 720}, 0}));
    EXPECT_TRUE(converter.convert(noisyJpeg(2000, 1100)));
}

TEST(FrameConverter, DropsADamagedJpegAndTakesTheNext) {
    FrameConverter converter;
    ASSERT_TRUE(converter.setFormat({fourcc::mjpeg, {64, 48}, 0}));
    const Bytes whole = noisyJpeg(64, 48);
    EXPECT_FALSE(converter.convert(std::span(whole).first(whole.size() / 2)));
    EXPECT_TRUE(converter.convert(whole));
}

TEST(FrameConverter, UsesPicturesAgain) {
    FrameConverter converter;
    ASSERT_TRUE(converter.setFormat({fourcc::yuyv, {32, 16}, 0}));
    const Bytes bytes = frame(fourcc::yuyv, 32, 16, red601);
    const PixelBuffer* first = converter.convert(bytes).get();
    EXPECT_EQ(converter.convert(bytes).get(), first);
}

TEST(FrameConverter, DropsFramesWhileEveryPictureIsHeld) {
    FrameConverter converter;
    ASSERT_TRUE(converter.setFormat({fourcc::yuyv, {32, 16}, 0}));
    const Bytes bytes = frame(fourcc::yuyv, 32, 16, red601);
    std::vector<std::shared_ptr<PixelBuffer>> held;
    while (held.size() < 100) {
        auto picture = converter.convert(bytes);
        if (!picture) break;
        held.push_back(std::move(picture));
    }
    EXPECT_LT(held.size(), 100U);
    held.pop_back();
    EXPECT_TRUE(converter.convert(bytes));
}

} // namespace
} // namespace tavelo
