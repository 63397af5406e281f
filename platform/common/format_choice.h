// SPDX-License-Identifier: MIT
// Chooses the stream format from those that a camera offers.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/capture.h"

namespace tavelo {

/// A four-character code as in V4L2 and the USB Video Class, the first character in the lowest byte.
using Fourcc = std::uint32_t;

constexpr Fourcc makeFourcc(char a, char b, char c, char d) {
    return Fourcc(static_cast<unsigned char>(a)) | Fourcc(static_cast<unsigned char>(b)) << 8U |
           Fourcc(static_cast<unsigned char>(c)) << 16U | Fourcc(static_cast<unsigned char>(d)) << 24U;
}

/// The formats that we can convert to BGRA.
namespace fourcc {
inline constexpr Fourcc yuyv = makeFourcc('Y', 'U', 'Y', 'V');
inline constexpr Fourcc uyvy = makeFourcc('U', 'Y', 'V', 'Y');
inline constexpr Fourcc nv12 = makeFourcc('N', 'V', '1', '2');
inline constexpr Fourcc i420 = makeFourcc('Y', 'U', '1', '2');
inline constexpr Fourcc grey = makeFourcc('G', 'R', 'E', 'Y');
inline constexpr Fourcc mjpeg = makeFourcc('M', 'J', 'P', 'G');
} // namespace fourcc

/// Nothing unless the text names one of the formats above ("YUYV"; also "YUY2", "MJPEG" and "I420"; case does
/// not matter).
std::optional<Fourcc> fourccFromText(std::string_view text);
std::string fourccText(Fourcc value);

using FrameSize = CaptureFormatRequest::Size;

/// Seconds between frames as a fraction; 0/0 if the camera does not report it.
struct FrameInterval {
    std::uint32_t numerator = 0;
    std::uint32_t denominator = 0;

    /// 0 if unknown or invalid.
    double framesPerSecond() const { return numerator == 0 ? 0 : double(denominator) / numerator; }

    friend bool operator==(const FrameInterval&, const FrameInterval&) = default;
};

/// Both ends are equal for a single rate.
struct FrameIntervalRange {
    FrameInterval shortest;
    FrameInterval longest;
};

/// One size in one format and the rates that the camera lists for it; none if it does not report them.
struct OfferedMode {
    Fourcc format = 0;
    FrameSize size;
    std::vector<FrameIntervalRange> intervals;
};

/// The modes for people and programs, without duplicates, in the order given; each at its highest rate.
std::vector<CaptureFormat> captureFormats(std::span<const OfferedMode> offered);

struct FormatChoice {
    Fourcc format = 0;
    FrameSize size;
    FrameInterval interval; ///< 0/0: keep the camera's own

    /// Approximate bus bandwidth; a compressed frame counts as a quarter of a byte per pixel.
    double bytesPerSecond() const;
};

/// All modes that can be shown (frame_bounds.h has the size limits), best first, each at its best rate.  Pure
/// and reentrant.
///
/// By default: the largest size up to 1280x720 at 24 frames per second or more; at that size, uncompressed
/// before MJPEG before grey; the best rate up to 30.  If no size qualifies, larger sizes at such a rate come
/// before small ones at a lower rate.  The camera's list is trusted: a camera on USB 2, which carries 24.6
/// MB/s, lists YUYV at full rate up to 640x480 only.  If the bus turns out to be full, the caller tries a
/// later entry with fewer bytesPerSecond().
///
/// A requested size, rate or format replaces the default.  If the camera does not offer it, the best match is
/// the largest size within the requested one, the nearest rate, or any format.
std::vector<FormatChoice> rankFormats(std::span<const OfferedMode> offered,
                                      const CaptureFormatRequest& request);

/// A grid of sizes, as offered by cameras that scale by themselves.  A step of 0 counts as 1.
struct FrameSizeRange {
    FrameSize smallest;
    FrameSize largest;
    FrameSize step;
};

/// The sizes of the grid worth asking the camera for: the requested one, the default, common ones and both
/// ends.
std::vector<FrameSize> sizesToConsider(const FrameSizeRange& range, const CaptureFormatRequest& request);

} // namespace tavelo
