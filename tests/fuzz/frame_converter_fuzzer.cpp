// SPDX-License-Identifier: MIT
// Frames of every format, size and damage, and the pictures that are made of them.
//
// Input: ten bytes that choose format, size, bytes per line, colours and what is wanted, then the frame.  The
// second half is a second frame, since a converter keeps some of the one before.
#include "platform/linux/pictures/frame_converter.h"

#include <array>
#include <vector>

#include "fuzz_expect.h"

namespace {

using tavelo::CameraFrame;
using tavelo::fuzz::expect;

constexpr std::size_t optionBytes = 10;
constexpr std::uint32_t longestSide = 256; // larger ones would only be slow

tavelo::FrameFormat formatOf(const std::uint8_t* options) {
    namespace fourcc = tavelo::fourcc;
    constexpr std::array formats{fourcc::yuyv, fourcc::uyvy, fourcc::nv12,
                                 fourcc::i420, fourcc::grey, fourcc::mjpeg};
    constexpr std::array matrices{tavelo::YuvMatrix::bt601, tavelo::YuvMatrix::bt709,
                                  tavelo::YuvMatrix::bt2020};
    tavelo::FrameFormat format;
    format.format = formats[options[0] % formats.size()];
    format.size = {options[1], options[2]};
    format.bytesPerLine = std::uint32_t{options[3]} * 4;
    format.matrix = matrices[options[4] % matrices.size()];
    format.fullRange = (options[5] & 1U) != 0;
    return format;
}

tavelo::PictureDemand demandOf(const std::uint8_t* options) {
    tavelo::PictureDemand demand;
    demand.whole = (options[6] & 1U) != 0;
    demand.forMovie = (options[6] & 2U) != 0;
    demand.shownWidth = options[7];
    demand.shownHeight = options[8];
    return demand;
}

void drawForMovie(const CameraFrame& frame) {
    const std::size_t width = frame.width();
    const std::size_t height = frame.height();
    expect(width % 2 == 0 && height % 2 == 0);
    std::vector<std::uint8_t> luma(width * height);
    std::vector<std::uint8_t> chroma(width * height / 2);
    for (const tavelo::Mirroring mirroring : {tavelo::Mirroring{}, tavelo::Mirroring{true, true}})
        frame.drawForMovie(
            {{luma.data(), width, height, width}, {chroma.data(), width / 2, height / 2, width}}, mirroring);
}

void lookAt(const tavelo::SampleBuffer& made) {
    if (made.imageBuffer) expect(made.imageBuffer->width() > 0 && made.imageBuffer->height() > 0);
    if (!made.cameraFrame) return;
    const CameraFrame& frame = *made.cameraFrame;
    if (frame.width() > longestSide || frame.height() > longestSide) return;
    const auto whole =
        tavelo::PixelBuffer::create(tavelo::PixelFormat::bgra32, frame.width(), frame.height());
    {
        const auto lock = whole->lock();
        frame.draw(*whole);
    }
    if (frame.hasMoviePicture()) drawForMovie(frame);
    if (made.reducedBuffer)
        expect(made.reducedBuffer->width() <= frame.width() &&
               made.reducedBuffer->height() <= frame.height());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < optionBytes) return 0;
    tavelo::FrameConverter converter;
    if (!converter.setFormat(formatOf(data))) return 0;
    const std::span<const std::uint8_t> bytes = std::span(data, size).subspan(optionBytes);
    const std::size_t first = bytes.size() * data[9] / 255;
    lookAt(converter.convert(bytes.first(first), demandOf(data)));
    lookAt(converter.convert(bytes.subspan(first), demandOf(data)));
    return 0;
}
