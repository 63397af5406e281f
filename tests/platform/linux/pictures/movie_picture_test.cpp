// SPDX-License-Identifier: MIT
// Pictures for movies, made of a camera's own planes, against those made over BGRA.
#include "platform/linux/pictures/movie_picture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <tuple>

#include "platform/linux/pictures/frame_converter.h"
#include "test_pictures.h"

namespace tavelo {
namespace {

// The least that a movie's picture may have against the same picture made over BGRA.
constexpr double leastLumaDecibels = 45;
constexpr double leastChromaDecibels = 41;

constexpr PictureDemand forMovie{false, 0, 0, true};
constexpr std::array mirrorings{Mirroring{false, false}, Mirroring{true, false}, Mirroring{false, true},
                                Mirroring{true, true}};

/// NV12 with rows longer than the picture, which stay as they are.
class Nv12 {
public:
    Nv12(std::size_t width, std::size_t height)
        : width_(width),
          height_(height),
          row_(width + 24),
          bytes_(row_ * height * 3 / 2, untouched) {}

    MoviePlanes planes() {
        return {{bytes_.data(), width_, height_, row_},
                {bytes_.data() + row_ * height_, width_ / 2, height_ / 2, row_}};
    }
    int luma(std::size_t x, std::size_t y) const { return bytes_[y * row_ + x]; }
    /// @param which 0: blue, 1: red
    int chroma(std::size_t pair, std::size_t row, std::size_t which) const {
        return bytes_[(height_ + row) * row_ + pair * 2 + which];
    }
    bool isPaddingUntouched() const {
        for (std::size_t row = 0; row < height_ * 3 / 2; ++row)
            for (std::size_t x = width_; x < row_; ++x)
                if (bytes_[row * row_ + x] != untouched) return false;
        return true;
    }

private:
    static constexpr std::uint8_t untouched = 77;

    std::size_t width_;
    std::size_t height_;
    std::size_t row_;
    Bytes bytes_;
};

struct Yuv {
    double y = 0;
    double u = 0;
    double v = 0;
};

// BT.601 in limited range.
Yuv yuvOf(Bgr pixel) {
    return {16 + (65.481 * pixel.red + 128.553 * pixel.green + 24.966 * pixel.blue) / 255,
            128 + (-37.797 * pixel.red - 74.203 * pixel.green + 112.0 * pixel.blue) / 255,
            128 + (112.0 * pixel.red - 93.786 * pixel.green - 18.214 * pixel.blue) / 255};
}

struct Decibels {
    double luma = 0;
    double chroma = 0;
};

Decibels compare(const Nv12& made, const PixelBuffer& whole, Mirroring mirroring) {
    const std::size_t width = whole.width();
    const std::size_t height = whole.height();
    double lumaSquares = 0;
    double chromaSquares = 0;
    for (std::size_t row = 0; row < height / 2; ++row)
        for (std::size_t pair = 0; pair < width / 2; ++pair) {
            Yuv mean;
            for (const std::size_t i : {0U, 1U, 2U, 3U}) {
                const std::size_t x = pair * 2 + i % 2;
                const std::size_t y = row * 2 + i / 2;
                const Yuv yuv = yuvOf(pixelOf(whole, mirroring.horizontal ? width - 1 - x : x,
                                              mirroring.vertical ? height - 1 - y : y));
                lumaSquares += std::pow(made.luma(x, y) - yuv.y, 2);
                mean.u += yuv.u / 4;
                mean.v += yuv.v / 4;
            }
            chromaSquares += std::pow(made.chroma(pair, row, 0) - mean.u, 2);
            chromaSquares += std::pow(made.chroma(pair, row, 1) - mean.v, 2);
        }
    const auto decibels = [](double squares, std::size_t count) {
        return 10 * std::log10(255.0 * 255 * double(count) / squares);
    };
    return {decibels(lumaSquares, width * height), decibels(chromaSquares, width * height / 2)};
}

struct Source {
    std::string name;
    Fourcc format = 0;
    Chroma chroma = Chroma::h422;
    bool fullRange = false;
};

// Soft shades of grey with soft colours: each row and column differs, so that none can be exchanged.
Bytes packedFrame(Fourcc format, FrameSize size, bool fullRange) {
    Bytes bytes;
    const auto shade = [&](double phase, double span) { return std::uint8_t(128 + span * std::sin(phase)); };
    for (std::uint32_t y = 0; y < size.height; ++y)
        for (std::uint32_t x = 0; x < size.width; ++x) {
            const std::uint32_t pair = x / 2;
            const std::uint8_t luma = shade(x / 9.0 + y / 5.0, fullRange ? 100 : 80);
            const std::uint8_t chroma = shade(pair / 17.0 - y / 13.0 + x % 2, 30);
            bytes.push_back(format == fourcc::yuyv ? luma : chroma);
            bytes.push_back(format == fourcc::yuyv ? chroma : luma);
        }
    return bytes;
}

Bytes frameOf(const Source& source, FrameSize size) {
    return source.format == fourcc::mjpeg ? softJpeg(int(size.width), int(size.height), source.chroma)
                                          : packedFrame(source.format, size, source.fullRange);
}

class MoviePicture : public testing::TestWithParam<std::tuple<Source, FrameSize>> {
protected:
    void SetUp() override {
        ASSERT_TRUE(converter_.setFormat({source_.format, size_, 0, YuvMatrix::bt601, source_.fullRange}));
        whole_ = converter_.convert(bytes_);
        ASSERT_TRUE(whole_);
    }

    const Source source_ = std::get<0>(GetParam());
    const FrameSize size_ = std::get<1>(GetParam());
    const Bytes bytes_ = frameOf(source_, size_);
    FrameConverter converter_;
    std::shared_ptr<PixelBuffer> whole_;
};

TEST_P(MoviePicture, IsTheOneMadeOverBgraAndMirroredLikeIt) {
    Bytes camera = bytes_; // the driver uses its memory again
    const SampleBuffer made = converter_.convert(camera, forMovie);
    std::ranges::fill(camera, std::uint8_t(0));
    ASSERT_TRUE(made.cameraFrame);
    EXPECT_FALSE(made.imageBuffer);
    EXPECT_FALSE(made.reducedBuffer);
    ASSERT_TRUE(made.cameraFrame->hasMoviePicture());
    for (const Mirroring mirroring : mirrorings) {
        Nv12 picture(size_.width, size_.height);
        made.cameraFrame->drawForMovie(picture.planes(), mirroring);
        const Decibels is = compare(picture, *whole_, mirroring);
        EXPECT_GE(is.luma, leastLumaDecibels);
        EXPECT_GE(is.chroma, leastChromaDecibels);
        EXPECT_TRUE(picture.isPaddingUntouched());
    }
}

TEST_P(MoviePicture, LeavesTheWholePictureAsItWas) {
    const SampleBuffer made = converter_.convert(bytes_, forMovie);
    ASSERT_TRUE(made.cameraFrame);
    const auto later = PixelBuffer::create(PixelFormat::bgra32, size_.width, size_.height);
    ASSERT_TRUE(made.cameraFrame->draw(*later));
    for (std::size_t y = 0; y < size_.height; ++y)
        for (std::size_t x = 0; x < size_.width; ++x)
            ASSERT_EQ(distance(pixelOf(*later, x, y), pixelOf(*whole_, x, y)), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, MoviePicture,
    testing::Combine(testing::Values(Source{"yuyv", fourcc::yuyv}, Source{"uyvy", fourcc::uyvy},
                                     Source{"fullRange", fourcc::yuyv, Chroma::h422, true},
                                     Source{"jpeg422", fourcc::mjpeg},
                                     Source{"jpeg420", fourcc::mjpeg, Chroma::h420},
                                     Source{"jpegGrey", fourcc::mjpeg, Chroma::grey}),
                     testing::Values(FrameSize{320, 180}, FrameSize{130, 38}, FrameSize{66, 2})),
    [](const auto& test) {
        return std::get<0>(test.param).name + "_" + std::to_string(std::get<1>(test.param).width);
    });

int lumaOfGrey(int level, bool fullRange) {
    FrameConverter converter;
    EXPECT_TRUE(converter.setFormat({fourcc::yuyv, {2, 2}, 0, YuvMatrix::bt601, fullRange}));
    const auto shade = std::uint8_t(level);
    const Bytes bytes{shade, 128, shade, 128, shade, 128, shade, 128};
    Nv12 picture(2, 2);
    converter.convert(bytes, forMovie).cameraFrame->drawForMovie(picture.planes(), {});
    EXPECT_EQ(picture.chroma(0, 0, 0), 128);
    EXPECT_EQ(picture.chroma(0, 0, 1), 128);
    return picture.luma(1, 1);
}

TEST(MoviePictureRange, BlackAndWhiteAreThoseOfLimitedRange) {
    EXPECT_EQ(lumaOfGrey(0, true), 16);
    EXPECT_EQ(lumaOfGrey(255, true), 235);
    EXPECT_EQ(lumaOfGrey(128, true), 126);
    EXPECT_EQ(lumaOfGrey(16, false), 16);
    EXPECT_EQ(lumaOfGrey(235, false), 235);
}

class FrameForAMovie : public testing::Test {
protected:
    explicit FrameForAMovie(FrameSize size = {320, 180}) { converter_.setFormat({fourcc::mjpeg, size}); }

    static PictureDemand shownAt(std::uint32_t width, std::uint32_t height) {
        return {false, width, height, true};
    }

    const Bytes jpeg_ = softJpeg(320, 180);
    FrameConverter converter_;
};

// What cannot be kept for a movie comes as a whole picture.

TEST_F(FrameForAMovie, OddSizeIsAWholePicture) {
    converter_.setFormat({fourcc::mjpeg, {319, 180}});
    EXPECT_TRUE(converter_.convert(softJpeg(319, 180), forMovie).imageBuffer);
    EXPECT_TRUE(converter_.convert(softJpeg(320, 179), forMovie).imageBuffer);
    EXPECT_FALSE(converter_.convert(softJpeg(320, 180), forMovie).imageBuffer);
    converter_.setFormat({fourcc::yuyv, {31, 18}});
    EXPECT_TRUE(converter_.convert(Bytes(std::size_t(32) * 18 * 2, 128), forMovie).imageBuffer);
}

TEST_F(FrameForAMovie, OtherSamplingOfChromaIsAWholePicture) {
    EXPECT_TRUE(converter_.convert(softJpeg(320, 180, Chroma::h444), forMovie).imageBuffer);
}

TEST_F(FrameForAMovie, ColoursThatAMovieDoesNotHaveAreAWholePicture) {
    const Bytes bytes(std::size_t(32) * 18 * 2, 128);
    for (const YuvMatrix matrix : {YuvMatrix::bt709, YuvMatrix::bt2020}) {
        converter_.setFormat({fourcc::yuyv, {32, 18}, 0, matrix, false});
        EXPECT_TRUE(converter_.convert(bytes, forMovie).imageBuffer);
    }
    converter_.setFormat({fourcc::nv12, {32, 18}});
    EXPECT_TRUE(converter_.convert(bytes, forMovie).imageBuffer);
}

TEST_F(FrameForAMovie, ReceiverThatWantsWholePicturesTooGetsThose) {
    EXPECT_TRUE(converter_.convert(jpeg_, {true, 0, 0, true}).imageBuffer);
}

TEST_F(FrameForAMovie, DamagedFrameIsDropped) {
    const std::span cut = std::span(jpeg_).first(jpeg_.size() / 2);
    EXPECT_FALSE(converter_.convert(cut, forMovie).mediaType());
    EXPECT_FALSE(converter_.convert(cut, shownAt(160, 90)).mediaType());
    EXPECT_TRUE(converter_.convert(jpeg_, forMovie).cameraFrame);
}

TEST_F(FrameForAMovie, ThatDidNotChangeIsDecodedOnceMoreWhenAMovieBegins) {
    const PictureDemand shown{false, 160, 90};
    const SampleBuffer before = converter_.convert(jpeg_, shown);
    EXPECT_FALSE(before.cameraFrame->hasMoviePicture());
    const SampleBuffer first = converter_.convert(jpeg_, shownAt(160, 90));
    EXPECT_TRUE(first.cameraFrame->hasMoviePicture());
    EXPECT_NE(first.cameraFrame, before.cameraFrame);
    const SampleBuffer second = converter_.convert(jpeg_, shownAt(160, 90));
    EXPECT_EQ(second.cameraFrame, first.cameraFrame);
    EXPECT_EQ(second.reducedBuffer, first.reducedBuffer);
}

TEST_F(FrameForAMovie, KeepsNoPlanesOnceTheMovieHasEnded) {
    converter_.convert(jpeg_, forMovie);
    const Bytes other = softJpeg(320, 180, Chroma::h420);
    EXPECT_FALSE(converter_.convert(other, {false, 0, 0}).cameraFrame->hasMoviePicture());
}

// What is shown beside a movie

double decibels(const PixelBuffer& one, const PixelBuffer& other) {
    double squares = 0;
    for (std::size_t y = 0; y < one.height(); ++y)
        for (std::size_t x = 0; x < one.width(); ++x) {
            const Bgr a = pixelOf(one, x, y);
            const Bgr b = pixelOf(other, x, y);
            squares +=
                std::pow(a.blue - b.blue, 2) + std::pow(a.green - b.green, 2) + std::pow(a.red - b.red, 2);
        }
    return 10 * std::log10(255.0 * 255 * double(one.width() * one.height() * 3) / (squares + 1e-9));
}

using Shown = std::tuple<Source, unsigned>;

class ShownBesideAMovie : public testing::TestWithParam<Shown> {};

TEST_P(ShownBesideAMovie, IsWhatWasShownBeforeIt) {
    const auto& [source, reduction] = GetParam();
    for (const FrameSize size : {FrameSize{320, 180}, FrameSize{128, 36}, FrameSize{66, 2}}) {
        const Bytes bytes = frameOf(source, size);
        FrameConverter converter;
        ASSERT_TRUE(converter.setFormat({source.format, size, 0, YuvMatrix::bt601, source.fullRange}));
        PictureDemand demand{false, (size.width + reduction - 1) / reduction,
                             std::max(size.height / reduction, 1U)};
        const SampleBuffer before = converter.convert(bytes, demand);
        demand.forMovie = true;
        const SampleBuffer beside = converter.convert(bytes, demand);
        const PixelBuffer* shown = (before.reducedBuffer ? before.reducedBuffer : before.imageBuffer).get();
        ASSERT_TRUE(shown);
        ASSERT_TRUE(beside.reducedBuffer);
        EXPECT_FALSE(beside.imageBuffer);
        ASSERT_EQ(beside.reducedBuffer->width(), shown->width());
        ASSERT_EQ(beside.reducedBuffer->height(), shown->height());
        EXPECT_GE(decibels(*shown, *beside.reducedBuffer), reduction == 4 ? 32 : 37) << size.width;
        EXPECT_EQ(alphaOf(*beside.reducedBuffer, shown->width() - 1, shown->height() - 1), 255);
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, ShownBesideAMovie,
                         testing::Combine(testing::Values(Source{"yuyv", fourcc::yuyv},
                                                          Source{"uyvy", fourcc::uyvy},
                                                          Source{"jpeg422", fourcc::mjpeg},
                                                          Source{"jpeg420", fourcc::mjpeg, Chroma::h420},
                                                          Source{"jpegGrey", fourcc::mjpeg, Chroma::grey}),
                                          testing::Values(1U, 2U, 4U)),
                         [](const auto& test) {
                             return std::get<0>(test.param).name + "_" +
                                    std::to_string(std::get<1>(test.param));
                         });

} // namespace
} // namespace tavelo
