// SPDX-License-Identifier: MIT
// Pictures from a motion JPEG camera.
#include "platform/linux/pictures/mjpeg_decoder.h"

#include "fuzz_expect.h"
#include "platform/common/frame_bounds.h"

namespace {

using tavelo::fuzz::expect;

void lookAt(const tavelo::PlanarPicture& planes, std::uint32_t width, std::uint32_t height) {
    expect(planes.size.width == width && planes.size.height == height);
    const auto isInside = [&](const tavelo::PlanarPicture::Plane& plane, std::uint32_t least,
                              std::uint32_t rows) {
        const auto perRow = std::size_t(plane.bytesPerRow);
        return perRow >= least && plane.offset + perRow * rows <= planes.memory.size();
    };
    expect(isInside(planes.luma, width, height));
    for (const tavelo::PlanarPicture::Plane& plane : planes.chroma)
        expect(planes.grey ||
               isInside(plane, (width + 1) / 2, planes.halfChromaRows ? (height + 1) / 2 : height));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static tavelo::MjpegDecoder decoder; // one for all pictures, as in a stream
    static tavelo::PlanarPicture planes;
    const std::span<const std::uint8_t> bytes(data, size);
    const auto found = decoder.begin(bytes);
    if (!found) return 0;
    expect(tavelo::isShowable(*found));
    // Larger pictures would only be slow.
    if (std::uint64_t{found->width} * found->height > 512 * 512) return 0;
    const auto picture =
        tavelo::PixelBuffer::create(tavelo::PixelFormat::bgra32, found->width, found->height);
    const auto lock = picture->lock();
    decoder.decode(*picture);
    if (!decoder.begin(bytes) || !decoder.hasPlanes()) return 0;
    if (decoder.decode(planes)) lookAt(planes, found->width, found->height);
    return 0;
}
