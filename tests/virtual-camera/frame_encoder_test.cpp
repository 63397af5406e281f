// SPDX-License-Identifier: MIT
#include "virtual-camera/frame_encoder.h"

#include <gmock/gmock.h>
#include <turbojpeg.h>

#include <memory>
#include <random>

namespace tavelo {
namespace {

using Bytes = std::vector<std::uint8_t>;

StreamFormat formatOf(StreamEncoding encoding, std::uint16_t width, std::uint16_t height) {
    return {encoding, width, height, 333'333, std::uint32_t{2} * width * height, 3072};
}

Bytes plain(std::size_t pixels, std::uint8_t blue, std::uint8_t green, std::uint8_t red) {
    Bytes bgra;
    for (std::size_t i = 0; i < pixels; ++i)
        bgra.insert(bgra.end(), {blue, green, red, 255});
    return bgra;
}

struct Destroy {
    void operator()(void* handle) const { tjDestroy(handle); }
};

// Blue, green, red and alpha of a JPEG's first pixel; empty if this is not a JPEG of the expected size.
Bytes firstPixel(const Bytes& jpeg, int width, int height) {
    const std::unique_ptr<void, Destroy> turbo(tjInitDecompress());
    int gotWidth = 0;
    int gotHeight = 0;
    int sampling = 0;
    int space = 0;
    if (tjDecompressHeader3(turbo.get(), jpeg.data(), jpeg.size(), &gotWidth, &gotHeight, &sampling,
                            &space) != 0 ||
        gotWidth != width || gotHeight != height)
        return {};
    Bytes bgra(std::size_t{4} * static_cast<std::size_t>(width * height));
    if (tjDecompress2(turbo.get(), jpeg.data(), jpeg.size(), bgra.data(), width, 0, height, TJPF_BGRA, 0) !=
        0)
        return {};
    return {bgra.begin(), bgra.begin() + 4};
}

TEST(FrameEncoder, YuyvHasItsBytesInTheOrderYUYV) {
    FrameEncoder encoder(formatOf(StreamEncoding::yuyv, 16, 8));
    Bytes frame;
    ASSERT_TRUE(encoder.encode(plain(128, 0, 0, 255), frame)); // red
    ASSERT_EQ(frame.size(), 2U * 16 * 8);
    EXPECT_NEAR(frame[0], 82, 2);
    EXPECT_NEAR(frame[1], 90, 2);
    EXPECT_NEAR(frame[2], 82, 2);
    EXPECT_NEAR(frame[3], 240, 2);
}

TEST(FrameEncoder, MjpegFramesAreCompletePictures) {
    FrameEncoder encoder(formatOf(StreamEncoding::mjpeg, 64, 48));
    Bytes frame;
    ASSERT_TRUE(encoder.encode(plain(3072, 200, 100, 50), frame));
    const Bytes pixel = firstPixel(frame, 64, 48);
    ASSERT_EQ(pixel.size(), 4U);
    EXPECT_NEAR(pixel[0], 200, 6);
    EXPECT_NEAR(pixel[1], 100, 6);
    EXPECT_NEAR(pixel[2], 50, 6);
}

TEST(FrameEncoder, APictureThatIsHardToCompressStaysWithinTheLargestFrame) {
    StreamFormat format = formatOf(StreamEncoding::mjpeg, 128, 96);
    format.maxFrameSize = 128 * 96 / 2;
    Bytes noise(std::size_t{4} * 128 * 96);
    std::mt19937 random(7);
    for (std::uint8_t& byte : noise)
        byte = static_cast<std::uint8_t>(random());
    FrameEncoder encoder(format);
    Bytes frame;
    ASSERT_TRUE(encoder.encode(noise, frame));
    EXPECT_LE(frame.size(), format.maxFrameSize);
    EXPECT_FALSE(firstPixel(frame, 128, 96).empty());
}

TEST(FrameEncoder, APictureThatCannotBeMadeSmallEnoughIsRefused) {
    StreamFormat format = formatOf(StreamEncoding::mjpeg, 64, 48);
    format.maxFrameSize = 10;
    FrameEncoder encoder(format);
    Bytes frame;
    EXPECT_FALSE(encoder.encode(plain(3072, 1, 2, 3), frame));
}

TEST(FrameEncoder, APictureWithTooFewPixelsIsRefused) {
    for (const StreamEncoding encoding : {StreamEncoding::yuyv, StreamEncoding::mjpeg}) {
        FrameEncoder encoder(formatOf(encoding, 16, 8));
        Bytes frame;
        EXPECT_FALSE(encoder.encode(plain(127, 0, 0, 0), frame));
    }
}

} // namespace
} // namespace tavelo
