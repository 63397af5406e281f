// SPDX-License-Identifier: MIT
#include "virtual-camera/frame_encoder.h"

#include <libyuv/convert_from_argb.h>
#include <turbojpeg.h>

#include <type_traits>

namespace tavelo {
namespace {

/// Tried in this order until the picture fits.
constexpr int qualities[] = {80, 60, 40, 20};

struct DestroyTurbo {
    void operator()(void* handle) const { tjDestroy(handle); }
};

} // namespace

class FrameEncoder::JpegCompressor {
public:
    explicit JpegCompressor(const StreamFormat& format)
        : format_(format),
          turbo_(tjInitCompress()),
          buffer_(tjBufSize(format.width, format.height, sampling)) {}

    bool compress(std::span<const std::uint8_t> bgra, std::vector<std::uint8_t>& frame) {
        for (const int quality : qualities) {
            unsigned char* out = buffer_.data();
            unsigned long size = buffer_.size();
            if (tjCompress2(turbo_.get(), bgra.data(), format_.width, 0, format_.height, TJPF_BGRA, &out,
                            &size, sampling, quality, TJFLAG_FASTDCT | TJFLAG_NOREALLOC) != 0)
                return false;
            if (size > format_.maxFrameSize) continue;
            frame.assign(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(size));
            return true;
        }
        return false;
    }

private:
    static constexpr int sampling = TJSAMP_420;

    const StreamFormat format_;
    std::unique_ptr<std::remove_pointer_t<tjhandle>, DestroyTurbo> turbo_;
    std::vector<std::uint8_t> buffer_; ///< large enough for the worst case
};

FrameEncoder::FrameEncoder(const StreamFormat& format)
    : format_(format),
      jpeg_(format.encoding == StreamEncoding::mjpeg ? std::make_unique<JpegCompressor>(format) : nullptr) {}

FrameEncoder::~FrameEncoder() = default;

bool FrameEncoder::encode(std::span<const std::uint8_t> bgra, std::vector<std::uint8_t>& frame) {
    if (bgra.size() < std::size_t{4} * format_.width * format_.height) return false;
    return jpeg_ ? jpeg_->compress(bgra, frame) : encodeYuyv(bgra, frame);
}

bool FrameEncoder::encodeYuyv(std::span<const std::uint8_t> bgra, std::vector<std::uint8_t>& frame) const {
    const int width = format_.width;
    const int height = format_.height;
    frame.resize(std::size_t{2} * format_.width * format_.height);
    // libyuv names formats by register order: its ARGB is blue, green, red, alpha in memory.
    return libyuv::ARGBToYUY2(bgra.data(), width * 4, frame.data(), width * 2, width, height) == 0;
}

} // namespace tavelo
