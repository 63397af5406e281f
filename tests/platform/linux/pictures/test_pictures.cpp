// SPDX-License-Identifier: MIT
#include "test_pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <stdexcept>

#include <turbojpeg.h>

namespace tavelo {
namespace {

constexpr int quality = 95;

int subsampling(Chroma chroma) {
    switch (chroma) {
        case Chroma::h420:
            return TJSAMP_420;
        case Chroma::h444:
            return TJSAMP_444;
        case Chroma::grey:
            return TJSAMP_GRAY;
        case Chroma::h422:
            break;
    }
    return TJSAMP_422;
}

Bytes compress(const Bytes& bgr, int width, int height, Chroma chroma, int flags = 0) {
    const tjhandle compressor = tjInitCompress();
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    const int failed = tjCompress2(compressor, bgr.data(), width, 0, height, TJPF_BGR, &jpeg, &size,
                                   subsampling(chroma), quality, flags);
    Bytes result(jpeg, jpeg + size);
    tjFree(jpeg);
    tjDestroy(compressor);
    if (failed != 0) throw std::runtime_error("the test's picture could not be compressed");
    return result;
}

Bytes noise(int width, int height) {
    std::minstd_rand random(1);
    Bytes bgr(std::size_t(width) * std::size_t(height) * 3);
    std::ranges::generate(bgr, [&] { return static_cast<std::uint8_t>(random() >> 8U); });
    return bgr;
}

} // namespace

Bytes twoColourJpeg(int width, int height, Bgr left, Bgr right, Chroma chroma) {
    Bytes bgr;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const Bgr& colour = x < width / 2 ? left : right;
            for (const int channel : {colour.blue, colour.green, colour.red})
                bgr.push_back(static_cast<std::uint8_t>(channel));
        }
    }
    return compress(bgr, width, height, chroma);
}

Bytes noisyJpeg(int width, int height, Chroma chroma) {
    return compress(noise(width, height), width, height, chroma);
}

Bytes softJpeg(int width, int height, Chroma chroma) {
    Bytes bgr;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (const double length : {37.0, 53.0, 71.0})
                bgr.push_back(std::uint8_t(
                    std::lround(128 + 100 * std::sin(x / length * 6) * std::cos(y / length * 5))));
    return compress(bgr, width, height, chroma);
}

Bytes progressiveJpeg(int width, int height) {
    return compress(noise(width, height), width, height, Chroma::h422, TJFLAG_PROGRESSIVE);
}

Bytes withoutHuffmanTables(std::span<const std::uint8_t> jpeg) {
    Bytes result(jpeg.begin(), jpeg.begin() + 2);
    std::size_t at = 2;
    // Segments up to the start of scan; picture data follows.
    while (at + 4 <= jpeg.size() && jpeg[at + 1] != 0xDA) {
        const std::size_t length = 2 + (std::size_t(jpeg[at + 2]) << 8U | jpeg[at + 3]);
        const auto segment = jpeg.subspan(at, length);
        if (jpeg[at + 1] != 0xC4) result.insert(result.end(), segment.begin(), segment.end());
        at += length;
    }
    const auto rest = jpeg.subspan(at);
    result.insert(result.end(), rest.begin(), rest.end());
    return result;
}

Bytes withoutEndMarker(std::span<const std::uint8_t> jpeg) {
    return {jpeg.begin(), jpeg.end() - 2};
}

Bgr pixelOf(const PixelBuffer& picture, std::size_t x, std::size_t y) {
    const std::uint8_t* pixel = picture.baseAddress() + y * picture.bytesPerRow() + x * 4;
    return {pixel[0], pixel[1], pixel[2]};
}

int alphaOf(const PixelBuffer& picture, std::size_t x, std::size_t y) {
    return picture.baseAddress()[y * picture.bytesPerRow() + x * 4 + 3];
}

int distance(Bgr a, Bgr b) {
    return std::max({std::abs(a.blue - b.blue), std::abs(a.green - b.green), std::abs(a.red - b.red)});
}

} // namespace tavelo
