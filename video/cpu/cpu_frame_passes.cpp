// SPDX-License-Identifier: MIT
#include "video/cpu/cpu_frame_passes.h"

#include <libyuv/convert_argb.h>
#include <libyuv/planar_functions.h>

#include <algorithm>
#include <limits>
#include <new>
#include <utility>
#include <vector>

namespace tavelo {
namespace {

constexpr std::size_t memoryAlignment = 64;

std::shared_ptr<std::uint8_t> zeroedMemory(std::size_t bytes) {
    constexpr auto alignment = std::align_val_t(memoryAlignment);
    auto* memory = static_cast<std::uint8_t*>(::operator new(bytes, alignment, std::nothrow));
    if (memory == nullptr) return nullptr;
    std::fill_n(memory, bytes, std::uint8_t(0));
    return {memory, [](std::uint8_t* address) { ::operator delete(address, alignment); }};
}

void fillBlack(const Pixels& target) {
    for (std::size_t y = 0; y < target.height; ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(target.bytes + y * target.bytesPerRow);
        std::fill_n(row, target.width, 0xFF000000U);
    }
}

} // namespace

class CpuFramePasses::Texture final : public FrameTexture {
public:
    explicit Texture(std::shared_ptr<PixelBuffer> pixelBuffer) : pixelBuffer_(std::move(pixelBuffer)) {}

    const PixelBuffer& pixelBuffer() const { return *pixelBuffer_; }

private:
    std::shared_ptr<PixelBuffer> pixelBuffer_;
};

FramePicture CpuFramePasses::makePicture(PictureUse, std::size_t width, std::size_t height,
                                         std::size_t bytesPerRow) {
    // libyuv's sizes are of type int.
    if (height == 0 || bytesPerRow > std::size_t(std::numeric_limits<int>::max()) / height) return {};
    auto memory = zeroedMemory(bytesPerRow * height);
    if (!memory) return {};
    std::vector<PixelBuffer::Plane> planes{{memory.get(), width, height, bytesPerRow}};
    auto pixelBuffer = std::make_shared<PixelBuffer>(PixelFormat::bgra32, width, height, std::move(planes),
                                                     std::move(memory));
    auto texture = std::make_shared<Texture>(pixelBuffer);
    return {std::move(pixelBuffer), std::move(texture)};
}

bool CpuFramePasses::correct(FrameTexture& frame, FrameTexture& corrected,
                             const CorrectionParameters& parameters, const GroupExtent&) {
    const PixelBuffer& from = static_cast<const Texture&>(frame).pixelBuffer();
    const PixelBuffer& to = static_cast<const Texture&>(corrected).pixelBuffer();
    // libyuv flips a picture vertically if its height is negative.
    const int height = parameters.shouldFlipVertical != 0 ? -int(from.height()) : int(from.height());
    const auto pass = parameters.shouldFlipHorizontal != 0 ? libyuv::ARGBMirror : libyuv::ARGBCopy;
    return pass(from.baseAddress(), int(from.bytesPerRow()), to.baseAddress(), int(to.bytesPerRow()),
                int(from.width()), height) == 0;
}

void CpuFramePasses::display(FrameTexture* corrected, ViewportSize viewport, const FloatMatrix& modelView) {
    const Pixels target{target_.bytes, viewport.width, viewport.height, target_.bytesPerRow};
    if (corrected == nullptr) {
        fillBlack(target);
        return;
    }
    const PixelBuffer& frame = static_cast<const Texture*>(corrected)->pixelBuffer();
    scaler_.draw({frame.baseAddress(), frame.width(), frame.height(), frame.bytesPerRow()}, target,
                 double(modelView[0]), double(modelView[5]));
}

} // namespace tavelo
