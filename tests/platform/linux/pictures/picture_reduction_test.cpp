// SPDX-License-Identifier: MIT
// Reduced pictures beside the whole ones, and whole ones made later of what was kept.
#include "platform/linux/pictures/picture_reduction.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <string>
#include <tuple>

#include "platform/linux/pictures/frame_converter.h"
#include "test_pictures.h"

namespace tavelo {
namespace {

// The least that a reduced picture may have against the whole one scaled by the mean of its pixels.
constexpr double leastDecibels = 37;
// Of a quarter, whose pixels the decoder makes of the four lowest frequencies.
constexpr double leastDecibelsOfAQuarter = 32;

constexpr PictureDemand wholeOnly{};
constexpr PictureDemand nothing{false, 0, 0};

PictureDemand shownAt(FrameSize size, bool whole = false) {
    return {whole, size.width, size.height};
}

// Waves, like the soft edges of a lens; a camera's picture has no more detail.
int wave(std::uint32_t x, std::uint32_t y, double length) {
    return int(std::lround(128 + 90 * std::sin(2 * std::numbers::pi * x / length) *
                                     std::cos(2 * std::numbers::pi * y / (length * 1.7))));
}

Bytes softFrame(Fourcc format, FrameSize size) {
    const std::uint32_t pairs = (size.width + 1) / 2;
    const auto y = [](std::uint32_t column, std::uint32_t row) {
        return std::uint8_t(wave(column, row, 41));
    };
    const auto u = [](std::uint32_t pair, std::uint32_t row) { return std::uint8_t(wave(pair, row, 67)); };
    const auto v = [](std::uint32_t pair, std::uint32_t row) { return std::uint8_t(wave(row, pair, 53)); };
    Bytes bytes;
    if (format == fourcc::yuyv || format == fourcc::uyvy) {
        for (std::uint32_t row = 0; row < size.height; ++row)
            for (std::uint32_t pair = 0; pair < pairs; ++pair) {
                const std::array luma{y(2 * pair, row), y(2 * pair + 1, row)};
                const std::array chroma{u(pair, row / 2), v(pair, row / 2)};
                for (std::size_t i = 0; i < 2; ++i) {
                    bytes.push_back(format == fourcc::yuyv ? luma[i] : chroma[i]);
                    bytes.push_back(format == fourcc::yuyv ? chroma[i] : luma[i]);
                }
            }
        return bytes;
    }
    for (std::uint32_t row = 0; row < size.height; ++row)
        for (std::uint32_t column = 0; column < (format == fourcc::grey ? size.width : pairs * 2); ++column)
            bytes.push_back(y(column, row));
    if (format == fourcc::grey) return bytes;
    const std::uint32_t chromaRows = (size.height + 1) / 2;
    for (const bool second : {false, true})
        for (std::uint32_t row = 0; row < chromaRows; ++row)
            for (std::uint32_t pair = 0; pair < pairs; ++pair) {
                if (format == fourcc::i420) bytes.push_back(second ? v(pair, row) : u(pair, row));
                if (format == fourcc::nv12 && !second) {
                    bytes.push_back(u(pair, row));
                    bytes.push_back(v(pair, row));
                }
            }
    return bytes;
}

Bytes frameOf(Fourcc format, FrameSize size) {
    return format == fourcc::mjpeg ? softJpeg(int(size.width), int(size.height)) : softFrame(format, size);
}

// The mean of the pixels that a reduced one stands for.
double meanChannel(const PixelBuffer& whole, std::size_t x, std::size_t y, unsigned reduction,
                   std::size_t channel) {
    double sum = 0;
    int count = 0;
    for (std::size_t row = y * reduction; row < std::min(whole.height(), (y + 1) * reduction); ++row)
        for (std::size_t column = x * reduction; column < std::min(whole.width(), (x + 1) * reduction);
             ++column, ++count)
            sum += whole.baseAddress()[row * whole.bytesPerRow() + column * 4 + channel];
    return sum / count;
}

double decibels(const PixelBuffer& whole, const PixelBuffer& reduced, unsigned reduction) {
    double squares = 0;
    for (std::size_t y = 0; y < reduced.height(); ++y)
        for (std::size_t x = 0; x < reduced.width(); ++x)
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const double is = reduced.baseAddress()[y * reduced.bytesPerRow() + x * 4 + channel];
                squares += std::pow(is - meanChannel(whole, x, y, reduction, channel), 2);
            }
    return 10 * std::log10(255.0 * 255 * double(reduced.width() * reduced.height() * 3) / squares);
}

Bytes pixelsOf(const PixelBuffer& picture) {
    Bytes result;
    for (std::size_t y = 0; y < picture.height(); ++y) {
        const std::uint8_t* row = picture.baseAddress() + y * picture.bytesPerRow();
        result.insert(result.end(), row, row + picture.width() * 4);
    }
    return result;
}

TEST(PictureReduction, LeavesAtLeastAsManyPixelsAsAreShown) {
    const FrameSize size{1280, 720};
    EXPECT_EQ(reductionFor(fourcc::mjpeg, size, shownAt({536, 301})), 2U);
    EXPECT_EQ(reductionFor(fourcc::mjpeg, size, shownAt({640, 360})), 2U);
    EXPECT_EQ(reductionFor(fourcc::mjpeg, size, shownAt({641, 360})), 1U);
    EXPECT_EQ(reductionFor(fourcc::mjpeg, size, shownAt({640, 361})), 1U);
    EXPECT_EQ(reductionFor(fourcc::mjpeg, size, shownAt({320, 180})), 4U);
    EXPECT_EQ(reductionFor(fourcc::mjpeg, size, shownAt({10, 10})), 4U);
    EXPECT_EQ(reductionFor(fourcc::yuyv, size, shownAt({10, 10})), 2U);
    EXPECT_EQ(reductionFor(fourcc::grey, size, shownAt({10, 10})), 1U);
    EXPECT_EQ(reducedSize({1279, 721}, 2).width, 640U);
    EXPECT_EQ(reducedSize({1279, 721}, 4).height, 181U);
}

using FormatAndSize = std::tuple<Fourcc, FrameSize>;

class ReducedPicture : public testing::TestWithParam<FormatAndSize> {
protected:
    void SetUp() override {
        ASSERT_TRUE(converter_.setFormat({format_, size_, 0, YuvMatrix::bt601, false}));
        whole_ = converter_.convert(bytes_);
        ASSERT_TRUE(whole_);
    }

    const Fourcc format_ = std::get<0>(GetParam());
    const FrameSize size_ = std::get<1>(GetParam());
    const FrameSize half_{size_.width / 2, size_.height / 2};
    const Bytes bytes_ = frameOf(format_, size_);
    FrameConverter converter_;
    std::shared_ptr<PixelBuffer> whole_;
};

TEST_P(ReducedPicture, IsTheWholeOneScaled) {
    const SampleBuffer made = converter_.convert(bytes_, shownAt(half_));
    ASSERT_TRUE(made.reducedBuffer);
    EXPECT_FALSE(made.imageBuffer);
    EXPECT_EQ(made.reducedBuffer->width(), reducedSize(size_, 2).width);
    EXPECT_EQ(made.reducedBuffer->height(), reducedSize(size_, 2).height);
    EXPECT_GE(decibels(*whole_, *made.reducedBuffer, 2), leastDecibels);
    EXPECT_EQ(alphaOf(*made.reducedBuffer, 0, 0), 255);
}

TEST_P(ReducedPicture, BesideAWholeOneDoesNotFlicker) {
    const SampleBuffer alone = converter_.convert(bytes_, shownAt(half_));
    const SampleBuffer beside = converter_.convert(bytes_, shownAt(half_, true));
    ASSERT_TRUE(alone.reducedBuffer);
    ASSERT_TRUE(beside.reducedBuffer);
    EXPECT_EQ(pixelsOf(*beside.imageBuffer), pixelsOf(*whole_));
    EXPECT_FALSE(beside.cameraFrame);
    EXPECT_GE(decibels(*alone.reducedBuffer, *beside.reducedBuffer, 1), leastDecibels);
}

TEST_P(ReducedPicture, KeptFrameGivesTheWholePictureByteForByte) {
    for (const PictureDemand& demand : {nothing, shownAt(half_)}) {
        Bytes camera = bytes_; // the driver uses its memory again
        const SampleBuffer made = converter_.convert(camera, demand);
        std::ranges::fill(camera, std::uint8_t(0));
        ASSERT_TRUE(made.cameraFrame);
        EXPECT_FALSE(made.imageBuffer);
        ASSERT_EQ(made.cameraFrame->width(), size_.width);
        ASSERT_EQ(made.cameraFrame->height(), size_.height);
        const auto later = PixelBuffer::create(PixelFormat::bgra32, size_.width, size_.height);
        EXPECT_TRUE(made.cameraFrame->draw(*later));
        EXPECT_EQ(pixelsOf(*later), pixelsOf(*whole_));
        EXPECT_FALSE(made.cameraFrame->draw(*PixelBuffer::create(PixelFormat::bgra32, 8, 8)));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, ReducedPicture,
    testing::Combine(testing::Values(fourcc::yuyv, fourcc::uyvy, fourcc::nv12, fourcc::i420, fourcc::mjpeg),
                     testing::Values(FrameSize{320, 180}, FrameSize{128, 37}, FrameSize{66, 2})),
    [](const auto& test) {
        const std::uint32_t format = std::get<0>(test.param);
        std::string name;
        for (const unsigned shift : {0U, 8U, 16U, 24U})
            name.push_back(char(format >> shift & 0xFFU));
        return name + std::to_string(std::get<1>(test.param).width);
    });

class DemandedPictures : public testing::Test {
protected:
    DemandedPictures() { converter_.setFormat({fourcc::mjpeg, {320, 180}}); }

    const Bytes jpeg_ = softJpeg(320, 180);
    FrameConverter converter_;
};

TEST_F(DemandedPictures, WholeOneIsAllThatIsMadeIfNobodySaysOtherwise) {
    const SampleBuffer made = converter_.convert(jpeg_, wholeOnly);
    ASSERT_TRUE(made.imageBuffer);
    EXPECT_FALSE(made.reducedBuffer);
    EXPECT_FALSE(made.cameraFrame);
}

TEST_F(DemandedPictures, WholeOneIsMadeIfItIsShownLargerThanHalf) {
    const SampleBuffer made = converter_.convert(jpeg_, shownAt({161, 90}));
    EXPECT_TRUE(made.imageBuffer);
    EXPECT_FALSE(made.reducedBuffer);
    EXPECT_FALSE(made.cameraFrame);
}

TEST_F(DemandedPictures, QuarterIsEnoughForASmallView) {
    const SampleBuffer made = converter_.convert(jpeg_, shownAt({80, 45}));
    ASSERT_TRUE(made.reducedBuffer);
    EXPECT_EQ(made.reducedBuffer->width(), 80U);
    const auto whole = converter_.convert(jpeg_);
    EXPECT_GE(decibels(*whole, *made.reducedBuffer, 4), leastDecibelsOfAQuarter);
}

// A cut picture has a whole header; that it is cut shows only when it is decoded.
TEST_F(DemandedPictures, NothingIsDecodedWhileNobodyLooks) {
    const std::span cut = std::span(jpeg_).first(jpeg_.size() / 2);
    EXPECT_FALSE(converter_.convert(cut, wholeOnly).mediaType());
    EXPECT_FALSE(converter_.convert(cut, shownAt({160, 90})).mediaType());
    const SampleBuffer kept = converter_.convert(cut, nothing);
    ASSERT_TRUE(kept.cameraFrame);
    EXPECT_FALSE(kept.imageBuffer);
    EXPECT_FALSE(kept.reducedBuffer);
    EXPECT_FALSE(kept.cameraFrame->draw(*PixelBuffer::create(PixelFormat::bgra32, 320, 180)));
}

TEST_F(DemandedPictures, FrameThatIsNoPictureIsDroppedThoughNobodyLooks) {
    EXPECT_FALSE(converter_.convert(Bytes(1000, 7), nothing).mediaType());
}

TEST_F(DemandedPictures, KeptFramesAreUsedAgainAndDroppedWhileEveryOneIsHeld) {
    std::uint8_t number = 0;
    const auto next = [&] { // each another frame, for bytes behind the end do no harm
        Bytes bytes = jpeg_;
        bytes.push_back(number++);
        return converter_.convert(bytes, nothing);
    };
    std::vector<const CameraFrame*> frames;
    for (int i = 0; i < 4; ++i)
        frames.push_back(next().cameraFrame.get());
    EXPECT_EQ(frames[2], frames[0]);
    EXPECT_EQ(frames[3], frames[1]);
    std::vector<SampleBuffer> held;
    while (held.size() < 20) {
        SampleBuffer made = next();
        if (!made.mediaType()) break;
        held.push_back(std::move(made));
    }
    EXPECT_EQ(held.size(), 6U);
    held.pop_back();
    EXPECT_TRUE(next().mediaType());
}

TEST_F(DemandedPictures, FrameThatDidNotChangeIsNotDecodedAgain) {
    const SampleBuffer first = converter_.convert(jpeg_, shownAt({160, 90}));
    const SampleBuffer again = converter_.convert(jpeg_, shownAt({160, 90}));
    ASSERT_TRUE(first.reducedBuffer);
    EXPECT_EQ(again.reducedBuffer, first.reducedBuffer);
    EXPECT_EQ(again.cameraFrame, first.cameraFrame);
    const SampleBuffer smaller = converter_.convert(jpeg_, shownAt({80, 45}));
    EXPECT_EQ(smaller.reducedBuffer->width(), 80U);
    EXPECT_EQ(smaller.cameraFrame, first.cameraFrame);
    const SampleBuffer other = converter_.convert(softJpeg(320, 180, Chroma::h420), shownAt({80, 45}));
    EXPECT_NE(other.reducedBuffer, smaller.reducedBuffer);
    EXPECT_NE(other.cameraFrame, first.cameraFrame);
}

TEST_F(DemandedPictures, SameBytesInAnotherFormatAreAnotherFrame) {
    FrameConverter converter;
    const Bytes bytes = softFrame(fourcc::yuyv, {32, 18});
    ASSERT_TRUE(converter.setFormat({fourcc::yuyv, {32, 18}}));
    const SampleBuffer first = converter.convert(bytes, shownAt({16, 9}));
    ASSERT_TRUE(converter.setFormat({fourcc::uyvy, {32, 18}}));
    EXPECT_NE(pixelsOf(*converter.convert(bytes, shownAt({16, 9})).reducedBuffer),
              pixelsOf(*first.reducedBuffer));
}

class ReducedColour : public testing::TestWithParam<std::tuple<YuvMatrix, bool>> {};

TEST_P(ReducedColour, IsThatOfTheWholePicture) {
    const auto [matrix, fullRange] = GetParam();
    FrameConverter converter;
    ASSERT_TRUE(converter.setFormat({fourcc::yuyv, {32, 18}, 0, matrix, fullRange}));
    Bytes bytes;
    for (int i = 0; i < 16 * 18; ++i)
        bytes.insert(bytes.end(), {90, 100, 90, 190});
    const SampleBuffer made = converter.convert(bytes, shownAt({16, 9}));
    ASSERT_TRUE(made.reducedBuffer);
    EXPECT_LE(distance(pixelOf(*made.reducedBuffer, 15, 8), pixelOf(*converter.convert(bytes), 31, 17)), 1);
}

INSTANTIATE_TEST_SUITE_P(Matrices, ReducedColour,
                         testing::Combine(testing::Values(YuvMatrix::bt601, YuvMatrix::bt709,
                                                          YuvMatrix::bt2020),
                                          testing::Bool()));

} // namespace
} // namespace tavelo
