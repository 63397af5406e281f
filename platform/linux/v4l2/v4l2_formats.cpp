// SPDX-License-Identifier: MIT
#include "platform/linux/v4l2/v4l2_formats.h"

namespace tavelo {
namespace {

// More than any device has; bounds the enumeration if a driver never ends it.
constexpr std::uint32_t mostEntries = 256;

FrameInterval ourInterval(const v4l2_fract& fraction) {
    return {fraction.numerator, fraction.denominator};
}

std::vector<FrameIntervalRange> intervals(V4l2Node& node, std::uint32_t pixelformat, FrameSize size) {
    std::vector<FrameIntervalRange> result;
    for (std::uint32_t index = 0; index < mostEntries; ++index) {
        v4l2_frmivalenum entry{};
        entry.index = index;
        entry.pixel_format = pixelformat;
        entry.width = size.width;
        entry.height = size.height;
        if (node.control(VIDIOC_ENUM_FRAMEINTERVALS, &entry) != 0) break;
        if (entry.type != V4L2_FRMIVAL_TYPE_DISCRETE) {
            result.push_back({ourInterval(entry.stepwise.min), ourInterval(entry.stepwise.max)});
            break;
        }
        result.push_back({ourInterval(entry.discrete), ourInterval(entry.discrete)});
    }
    return result;
}

std::vector<FrameSize> sizes(V4l2Node& node, std::uint32_t pixelformat, const CaptureFormatRequest& request) {
    std::vector<FrameSize> result;
    for (std::uint32_t index = 0; index < mostEntries; ++index) {
        v4l2_frmsizeenum entry{};
        entry.index = index;
        entry.pixel_format = pixelformat;
        if (node.control(VIDIOC_ENUM_FRAMESIZES, &entry) != 0) break;
        if (entry.type != V4L2_FRMSIZE_TYPE_DISCRETE) {
            const v4l2_frmsize_stepwise& grid = entry.stepwise;
            return sizesToConsider({{grid.min_width, grid.min_height},
                                    {grid.max_width, grid.max_height},
                                    {grid.step_width, grid.step_height}},
                                   request);
        }
        result.push_back({entry.discrete.width, entry.discrete.height});
    }
    return result;
}

void addCurrentFormat(V4l2Node& node, std::vector<OfferedMode>& modes) {
    v4l2_format current{};
    current.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (node.control(VIDIOC_G_FMT, &current) != 0) return;
    modes.push_back({current.fmt.pix.pixelformat, {current.fmt.pix.width, current.fmt.pix.height}, {}});
}

YuvMatrix matrixOf(const v4l2_pix_format& set) {
    std::uint32_t encoding = set.ycbcr_enc;
    if (encoding == V4L2_YCBCR_ENC_DEFAULT) encoding = V4L2_MAP_YCBCR_ENC_DEFAULT(set.colorspace);
    switch (encoding) {
        case V4L2_YCBCR_ENC_709:
        case V4L2_YCBCR_ENC_XV709:
        case V4L2_YCBCR_ENC_SMPTE240M: // differs from BT.709 by less than the noise of most cameras
            return YuvMatrix::bt709;
        case V4L2_YCBCR_ENC_BT2020:
        case V4L2_YCBCR_ENC_BT2020_CONST_LUM:
            return YuvMatrix::bt2020;
        default:
            return YuvMatrix::bt601;
    }
}

bool isFullRange(const v4l2_pix_format& set) {
    if (set.quantization != V4L2_QUANTIZATION_DEFAULT)
        return set.quantization == V4L2_QUANTIZATION_FULL_RANGE;
    return set.colorspace == V4L2_COLORSPACE_JPEG || set.pixelformat == V4L2_PIX_FMT_GREY;
}

} // namespace

bool canCapture(std::uint32_t deviceCaps) {
    constexpr std::uint32_t needed = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    constexpr std::uint32_t unfit = V4L2_CAP_VIDEO_M2M | V4L2_CAP_IO_MC;
    return (deviceCaps & needed) == needed && (deviceCaps & unfit) == 0;
}

std::vector<OfferedMode> offeredModes(V4l2Node& node, const CaptureFormatRequest& request) {
    std::vector<OfferedMode> modes;
    for (std::uint32_t index = 0; index < mostEntries; ++index) {
        v4l2_fmtdesc format{};
        format.index = index;
        format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (node.control(VIDIOC_ENUM_FMT, &format) != 0) break;
        // Formats that a library emulates; none of ours is.
        if ((format.flags & V4L2_FMT_FLAG_EMULATED) != 0) continue;
        for (const FrameSize size : sizes(node, format.pixelformat, request))
            modes.push_back({format.pixelformat, size, intervals(node, format.pixelformat, size)});
    }
    if (modes.empty()) addCurrentFormat(node, modes);
    return modes;
}

FrameFormat frameFormat(const v4l2_pix_format& set) {
    return {set.pixelformat, {set.width, set.height}, set.bytesperline, matrixOf(set), isFullRange(set)};
}

std::chrono::nanoseconds frameTime(const v4l2_buffer& buffer, std::chrono::nanoseconds now) {
    if ((buffer.flags & V4L2_BUF_FLAG_TIMESTAMP_MASK) != V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC) return now;
    // First in whole seconds: what the driver names may be more than nanoseconds can count.
    const auto nowSeconds = std::chrono::floor<std::chrono::seconds>(now).count();
    const auto [seconds, micros] = buffer.timestamp;
    if (seconds < nowSeconds - 1 || seconds > nowSeconds + 1 || micros < 0 || micros >= 1'000'000) return now;
    const std::chrono::nanoseconds stamp = std::chrono::seconds(seconds) + std::chrono::microseconds(micros);
    return std::chrono::abs(stamp - now) <= std::chrono::seconds(1) ? stamp : now;
}

} // namespace tavelo
