// SPDX-License-Identifier: MIT
// Which of the formats that a camera offers it is to stream in.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/capture.h"

namespace tavelo {

/// Four characters as V4L2 and the USB Video Class write them, the first in the lowest byte.
using Fourcc = std::uint32_t;

constexpr Fourcc makeFourcc(char a, char b, char c, char d) {
    return Fourcc(static_cast<unsigned char>(a)) | Fourcc(static_cast<unsigned char>(b)) << 8U |
           Fourcc(static_cast<unsigned char>(c)) << 16U | Fourcc(static_cast<unsigned char>(d)) << 24U;
}

/// The formats that we can turn into BGRA.
namespace fourcc {
inline constexpr Fourcc yuyv = makeFourcc('Y', 'U', 'Y', 'V');
inline constexpr Fourcc uyvy = makeFourcc('U', 'Y', 'V', 'Y');
inline constexpr Fourcc nv12 = makeFourcc('N', 'V', '1', '2');
inline constexpr Fourcc i420 = makeFourcc('Y', 'U', '1', '2');
inline constexpr Fourcc grey = makeFourcc('G', 'R', 'E', 'Y');
inline constexpr Fourcc mjpeg = makeFourcc('M', 'J', 'P', 'G');
} // namespace fourcc

/// Nothing unless the text names one of the formats above ("YUYV"; "YUY2", "MJPEG" and "I420" are understood
/// too; case does not matter).
std::optional<Fourcc> fourccFromText(std::string_view text);
std::string fourccText(Fourcc value);

using FrameSize = CaptureFormatRequest::Size;

/// Seconds from frame to frame as a fraction; 0/0 where the camera does not tell.
struct FrameInterval {
    std::uint32_t numerator = 0;
    std::uint32_t denominator = 0;

    /// 0 where unknown or without sense.
    double framesPerSecond() const { return numerator == 0 ? 0 : double(denominator) / numerator; }

    friend bool operator==(const FrameInterval&, const FrameInterval&) = default;
};

/// Equal ends for a single rate.
struct FrameIntervalRange {
    FrameInterval shortest;
    FrameInterval longest;
};

/// One size in one format, with the rates that the camera lists for it (none: it does not tell).
struct OfferedMode {
    Fourcc format = 0;
    FrameSize size;
    std::vector<FrameIntervalRange> intervals;
};

struct FormatChoice {
    Fourcc format = 0;
    FrameSize size;
    FrameInterval interval; ///< 0/0: leave it as the camera has it

    /// What it takes on the bus, roughly (a compressed frame is counted as a quarter of a byte a pixel).
    double bytesPerSecond() const;
};

/// Every mode that we can show (frame_bounds.h says up to which size), the best first, each at the rate that
/// suits best.  Pure and reentrant.
///
/// Where nothing is demanded: the largest size up to 1280x720 that comes at 24 frames a second or more; at
/// that size, uncompressed before MJPEG before grey; the best rate up to 30.  Where no size qualifies, a
/// larger picture that moves comes before a small one that stutters.  The camera's list is trusted: one on
/// USB 2, which carries 24.6 MB/s, lists YUYV at full rate up to 640x480 only; where the bus turns out full,
/// the caller goes on to a later entry with fewer bytesPerSecond().
///
/// A demanded size, rate or format replaces the one above.  One that the camera does not offer bends: the
/// size to the largest within it, the rate to the nearest, the format to any.
std::vector<FormatChoice> rankFormats(std::span<const OfferedMode> offered,
                                      const CaptureFormatRequest& request);

/// Sizes in a grid, as cameras that scale by themselves offer them.  A step of 0 counts as 1.
struct FrameSizeRange {
    FrameSize smallest;
    FrameSize largest;
    FrameSize step;
};

/// The few sizes of the grid that are worth asking the camera for: the demanded one, the default's, common
/// ones and both ends.
std::vector<FrameSize> sizesToConsider(const FrameSizeRange& range, const CaptureFormatRequest& request);

} // namespace tavelo
