// SPDX-License-Identifier: MIT
#include "platform/common/frame_bounds.h"

#include <algorithm>

namespace tavelo {
namespace {

constexpr std::size_t kilobyte = 1024;
constexpr std::size_t megabyte = 1024 * kilobyte;

constexpr std::size_t mostPadding = 16 * megabyte;
// Six pictures per second at the full speed of USB 3.
constexpr std::size_t mostCompressed = 64 * megabyte;

std::size_t pixels(FrameSize size) {
    return std::size_t{size.width} * size.height;
}

constexpr std::size_t half(std::size_t value) {
    return (value + 1) / 2;
}

} // namespace

bool isShowable(FrameSize size) {
    return size.width > 0 && size.height > 0 && size.width <= longestSide && size.height <= longestSide &&
           pixels(size) <= mostPixels;
}

std::size_t wholeFrameBytes(Fourcc format, FrameSize size) {
    if (format == fourcc::mjpeg) return 0;
    if (format == fourcc::grey) return pixels(size);
    const std::size_t evenWidth = 2 * half(size.width);
    if (format == fourcc::nv12 || format == fourcc::i420)
        return evenWidth * (size.height + half(size.height));
    return 2 * evenWidth * size.height;
}

std::size_t mostFrameBytes(Fourcc format, FrameSize size) {
    if (format == fourcc::mjpeg) return std::min(4 * pixels(size) + 64 * kilobyte, mostCompressed);
    const std::size_t whole = wholeFrameBytes(format, size);
    return whole + std::min(whole, mostPadding);
}

} // namespace tavelo
