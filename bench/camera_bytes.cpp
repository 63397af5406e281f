// SPDX-License-Identifier: MIT
#include "camera_bytes.h"

#include <turbojpeg.h>

#include <memory>
#include <type_traits>

namespace tavelo::bench {
namespace {

constexpr int jpegQuality = 85;

// Gradients with grain: neither flat areas nor pure noise.
std::uint8_t sample(std::uint32_t x, std::uint32_t y, std::uint32_t channel) {
    const std::uint32_t grain = (x * 7919 + y * 104729 + channel * 31) % 24;
    return std::uint8_t((x / 4 + y / 3 * (channel + 1) + grain) & 0xFF);
}

std::vector<std::uint8_t> yuyv(FrameSize size) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(std::size_t(size.width) * size.height * 2);
    for (std::uint32_t y = 0; y < size.height; ++y) {
        for (std::uint32_t x = 0; x < size.width; ++x) {
            bytes.push_back(sample(x, y, 0));
            bytes.push_back(sample(x, y, 1 + x % 2));
        }
    }
    return bytes;
}

std::vector<std::uint8_t> jpeg(FrameSize size) {
    std::vector<std::uint8_t> rgb;
    rgb.reserve(std::size_t(size.width) * size.height * 3);
    for (std::uint32_t y = 0; y < size.height; ++y)
        for (std::uint32_t x = 0; x < size.width; ++x)
            for (std::uint32_t channel = 0; channel < 3; ++channel)
                rgb.push_back(sample(x, y, channel));
    const std::unique_ptr<std::remove_pointer_t<tjhandle>, int (*)(tjhandle)> encoder(
        static_cast<std::remove_pointer_t<tjhandle>*>(tjInitCompress()), tjDestroy);
    unsigned char* out = nullptr;
    unsigned long length = 0;
    tjCompress2(encoder.get(), rgb.data(), int(size.width), 0, int(size.height), TJPF_RGB, &out, &length,
                TJSAMP_422, jpegQuality, 0);
    std::vector<std::uint8_t> bytes(out, out + length);
    tjFree(out);
    return bytes;
}

} // namespace

std::vector<std::uint8_t> cameraBytes(Fourcc format, FrameSize size) {
    if (format == fourcc::yuyv) return yuyv(size);
    if (format == fourcc::mjpeg) return jpeg(size);
    return {};
}

} // namespace tavelo::bench
