// SPDX-License-Identifier: MIT
#include "platform/linux/pictures/mjpeg_decoder.h"

#include <gtest/gtest.h>

#include <random>

#include "test_pictures.h"

namespace tavelo {
namespace {

constexpr Bgr orange{20, 120, 230};
constexpr Bgr blue{200, 60, 30};

std::shared_ptr<PixelBuffer> decode(MjpegDecoder& decoder, std::span<const std::uint8_t> jpeg) {
    const auto size = decoder.begin(jpeg);
    if (!size) return nullptr;
    auto picture = PixelBuffer::create(PixelFormat::bgra32, size->width, size->height);
    const auto lock = picture->lock();
    return decoder.decode(*picture) ? picture : nullptr;
}

class MjpegDecoderChroma : public testing::TestWithParam<Chroma> {};

TEST_P(MjpegDecoderChroma, GivesTheColoursBackAndAnOpaqueAlpha) {
    MjpegDecoder decoder;
    const auto picture = decode(decoder, twoColourJpeg(64, 33, orange, blue, GetParam()));
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width(), 64U);
    EXPECT_EQ(picture->height(), 33U);
    EXPECT_EQ(alphaOf(*picture, 63, 32), 255);
    if (GetParam() == Chroma::grey) {
        const Bgr pixel = pixelOf(*picture, 8, 8);
        EXPECT_EQ(pixel.blue, pixel.green);
        EXPECT_EQ(pixel.blue, pixel.red);
        EXPECT_NEAR(pixel.green, 0.114 * 20 + 0.587 * 120 + 0.299 * 230, 3);
        return;
    }
    EXPECT_LE(distance(pixelOf(*picture, 8, 8), orange), 4);
    EXPECT_LE(distance(pixelOf(*picture, 63, 32), blue), 4);
}

TEST_P(MjpegDecoderChroma, SuppliesMissingHuffmanTables) {
    MjpegDecoder decoder;
    const Bytes whole = twoColourJpeg(64, 48, orange, blue, GetParam());
    const Bytes bare = withoutHuffmanTables(whole);
    ASSERT_LT(bare.size(), whole.size());
    EXPECT_TRUE(decode(decoder, bare));
}

TEST_P(MjpegDecoderChroma, RefusesAPictureCutOffAnywhere) {
    MjpegDecoder decoder;
    const Bytes whole = noisyJpeg(64, 48, GetParam());
    ASSERT_TRUE(decode(decoder, whole));
    for (std::size_t size = 0; size + 8 < whole.size(); size += 7)
        EXPECT_FALSE(decode(decoder, std::span(whole).first(size))) << "cut off after " << size;
    EXPECT_TRUE(decode(decoder, whole)) << "the decoder works on afterwards";
}

INSTANTIATE_TEST_SUITE_P(All, MjpegDecoderChroma,
                         testing::Values(Chroma::h422, Chroma::h420, Chroma::h444, Chroma::grey));

TEST(MjpegDecoder, AcceptsAMissingEndMarker) {
    MjpegDecoder decoder;
    EXPECT_TRUE(decode(decoder, withoutEndMarker(noisyJpeg(64, 48))));
}

TEST(MjpegDecoder, AcceptsBytesBehindTheEnd) {
    MjpegDecoder decoder;
    Bytes padded = noisyJpeg(64, 48);
    padded.resize(padded.size() + 1000);
    EXPECT_TRUE(decode(decoder, padded));
}

TEST(MjpegDecoder, AcceptsBytesOfNoUseBetweenSegments) {
    MjpegDecoder decoder;
    Bytes jpeg = noisyJpeg(64, 48);
    const std::size_t behindFirstSegment = 2 + 2 + (std::size_t(jpeg[4]) << 8U | jpeg[5]);
    jpeg.insert(jpeg.begin() + std::ptrdiff_t(behindFirstSegment), {0x00, 0x00, 0x00});
    EXPECT_TRUE(decode(decoder, jpeg));
}

TEST(MjpegDecoder, RefusesWhatIsNoJpeg) {
    MjpegDecoder decoder;
    EXPECT_FALSE(decoder.begin({}));
    EXPECT_FALSE(decoder.begin(Bytes(1000, 0)));
    EXPECT_FALSE(decoder.begin(Bytes(1000, 0xFF)));
}

TEST(MjpegDecoder, RefusesProgressivePictures) {
    MjpegDecoder decoder;
    EXPECT_FALSE(decoder.begin(progressiveJpeg(64, 48)));
}

TEST(MjpegDecoder, RefusesADestinationOfAnotherSize) {
    MjpegDecoder decoder;
    const Bytes jpeg = noisyJpeg(64, 48);
    ASSERT_TRUE(decoder.begin(jpeg));
    EXPECT_FALSE(decoder.decode(*PixelBuffer::create(PixelFormat::bgra32, 64, 40)));
}

TEST(MjpegDecoder, SurvivesRandomDamage) {
    MjpegDecoder decoder;
    const Bytes whole = withoutHuffmanTables(noisyJpeg(48, 32, Chroma::h420));
    std::minstd_rand random(7);
    int accepted = 0;
    for (int round = 0; round < 2000; ++round) {
        Bytes damaged = whole;
        for (int i = 0; i < 1 + round % 5; ++i)
            damaged[random() % damaged.size()] = static_cast<std::uint8_t>(random() >> 8U);
        const auto size = decoder.begin(damaged);
        // A damaged size may need a 200 MB picture, which is not the subject of this test.
        if (!size || size->width > 512 || size->height > 512) continue;
        if (decode(decoder, damaged)) ++accepted;
    }
    EXPECT_LT(accepted, 2000);
    EXPECT_TRUE(decode(decoder, whole));
}

} // namespace
} // namespace tavelo
