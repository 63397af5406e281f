// SPDX-License-Identifier: MIT
#include "bench/peers/camera/prepared_frames.h"

#include <turbojpeg.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <type_traits>

#include "bench/peers/camera/frame_code.h"
#include "platform/virtual/picture/virtual_picture.h"

namespace tavelo::bench {
namespace {

constexpr int jpegQuality = 85;
constexpr std::size_t pixelsPerFrame = 3; // the scene's speed
constexpr int noise = 10;                 // in 255ths, from the lowest to the highest

class Jpeg {
public:
    std::vector<std::uint8_t> encode(const Raster& picture) {
        unsigned char* out = nullptr;
        unsigned long length = 0;
        const int failed =
            tjCompress2(encoder_.get(), &picture.pixels.front().blue, int(picture.width), 0,
                        int(picture.height), TJPF_BGRX, &out, &length, TJSAMP_422, jpegQuality, 0);
        const std::unique_ptr<unsigned char, void (*)(unsigned char*)> owner(out, tjFree);
        if (failed != 0) throw std::runtime_error(tjGetErrorStr2(encoder_.get()));
        return {out, out + length};
    }

private:
    std::unique_ptr<std::remove_pointer_t<tjhandle>, int (*)(tjhandle)> encoder_{
        static_cast<std::remove_pointer_t<tjhandle>*>(tjInitCompress()), tjDestroy};
};

// BT.601, limited range, as the USB Video Class says of YUY2.
std::vector<std::uint8_t> yuyv(const Raster& picture) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(picture.pixels.size() * 2);
    const auto luma = [](Pixel p) {
        return std::uint8_t((66 * p.red + 129 * p.green + 25 * p.blue + 128) / 256 + 16);
    };
    for (std::size_t at = 0; at + 1 < picture.pixels.size(); at += 2) {
        const Pixel left = picture.pixels[at];
        const Pixel right = picture.pixels[at + 1];
        const int red = (left.red + right.red) / 2;
        const int green = (left.green + right.green) / 2;
        const int blue = (left.blue + right.blue) / 2;
        bytes.push_back(luma(left));
        bytes.push_back(std::uint8_t((-38 * red - 74 * green + 112 * blue + 128 * 257) / 256));
        bytes.push_back(luma(right));
        bytes.push_back(std::uint8_t((112 * red - 94 * green - 18 * blue + 128 * 257) / 256));
    }
    return bytes;
}

std::uint32_t scrambled(std::uint32_t value) {
    value ^= value << 13U;
    value ^= value >> 17U;
    value ^= value << 5U;
    return value;
}

void addNoise(Raster& picture, std::uint32_t seed) {
    std::uint32_t random = seed * 2654435761U + 1;
    for (Pixel& pixel : picture.pixels) {
        random = scrambled(random);
        const int grain = int(random % (noise + 1)) - noise / 2;
        const auto grainy = [grain](std::uint8_t channel) {
            return std::uint8_t(std::clamp(channel + grain, 0, 255));
        };
        pixel = {grainy(pixel.blue), grainy(pixel.green), grainy(pixel.red), 255};
    }
}

// One scene, wider than the picture by as much as the picture moves.
Raster drawScene(const CameraMode& mode) {
    Raster scene;
    scene.resize(mode.width + frameCodes / 2 * pixelsPerFrame, mode.height);
    VirtualPicture(1).draw(0, {}, &scene.pixels.front().blue, scene.width, scene.height,
                           scene.width * sizeof(Pixel));
    return scene;
}

Raster window(const Raster& scene, const CameraMode& mode, std::size_t offset) {
    Raster picture;
    picture.resize(mode.width, mode.height);
    for (std::size_t y = 0; y < picture.height; ++y)
        std::copy_n(scene.row(y) + offset, picture.width, picture.row(y));
    return picture;
}

} // namespace

PreparedFrames::PreparedFrames(CameraMode mode) : mode_(mode) {
    const Raster scene = drawScene(mode);
    Jpeg jpeg;
    frames_.reserve(frameCodes);
    for (std::uint32_t frame = 0; frame < frameCodes; ++frame) {
        // There and back, so that the last picture is followed by the first without a jump.
        const std::uint32_t step = std::min(frame, frameCodes - frame);
        Raster picture = window(scene, mode, step * pixelsPerFrame);
        addNoise(picture, frame);
        drawFrameCode(picture, frame);
        frames_.push_back(mode.fourcc == mjpegFormat ? jpeg.encode(picture) : yuyv(picture));
        mode_.largestFrame = std::max(mode_.largestFrame, std::uint32_t(frames_.back().size()));
    }
}

std::span<const std::uint8_t> PreparedFrames::frame(std::uint32_t sequence) const {
    return frames_[sequence % frameCodes];
}

} // namespace tavelo::bench
