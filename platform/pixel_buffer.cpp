// SPDX-License-Identifier: MIT
#include "platform/pixel_buffer.h"

#include <algorithm>
#include <cassert>
#include <new>
#include <utility>

namespace tavelo {
namespace {

constexpr std::size_t rowAlignment = 64;

constexpr std::size_t alignedRow(std::size_t bytes) {
    return (bytes + rowAlignment - 1) / rowAlignment * rowAlignment;
}

std::shared_ptr<std::uint8_t> zeroedMemory(std::size_t bytes) {
    constexpr auto alignment = std::align_val_t(rowAlignment);
    auto* memory = static_cast<std::uint8_t*>(::operator new(bytes, alignment));
    std::fill_n(memory, bytes, std::uint8_t(0));
    return {memory, [](std::uint8_t* address) { ::operator delete(address, alignment); }};
}

} // namespace

std::shared_ptr<PixelBuffer> PixelBuffer::create(PixelFormat format, std::size_t width, std::size_t height) {
    if (width == 0 || height == 0) return nullptr;
    std::vector<Plane> planes;
    switch (format) {
        case PixelFormat::bgra32:
            planes.push_back({nullptr, width, height, alignedRow(width * 4)});
            break;
        case PixelFormat::nv12:
            planes.push_back({nullptr, width, height, alignedRow(width)});
            planes.push_back({nullptr, (width + 1) / 2, (height + 1) / 2, alignedRow((width + 1) / 2 * 2)});
            break;
    }
    std::size_t bytes = 0;
    for (const Plane& plane : planes)
        bytes += plane.bytesPerRow * plane.height;
    auto memory = zeroedMemory(bytes);
    std::size_t offset = 0;
    for (Plane& plane : planes) {
        plane.baseAddress = memory.get() + offset;
        offset += plane.bytesPerRow * plane.height;
    }
    return std::make_shared<PixelBuffer>(format, width, height, std::move(planes), std::move(memory));
}

PixelBuffer::PixelBuffer(PixelFormat format, std::size_t width, std::size_t height, std::vector<Plane> planes,
                         std::shared_ptr<void> owner)
    : format_(format),
      width_(width),
      height_(height),
      planes_(std::move(planes)),
      owner_(std::move(owner)) {
    assert(!planes_.empty());
}

} // namespace tavelo
