// SPDX-License-Identifier: MIT
// Pictures from a motion JPEG camera.
#include "platform/linux/pictures/mjpeg_decoder.h"

#include "fuzz_expect.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using tavelo::fuzz::expect;
    static tavelo::MjpegDecoder decoder; // one for all pictures, as in a stream
    const std::span<const std::uint8_t> bytes(data, size);
    const auto found = decoder.begin(bytes);
    if (!found) return 0;
    expect(found->width > 0 && found->height > 0 && found->width <= 8192 && found->height <= 8192);
    // Larger pictures would only be slow.
    if (std::uint64_t{found->width} * found->height > 512 * 512) return 0;
    const auto picture =
        tavelo::PixelBuffer::create(tavelo::PixelFormat::bgra32, found->width, found->height);
    const auto lock = picture->lock();
    decoder.decode(*picture);
    return 0;
}
