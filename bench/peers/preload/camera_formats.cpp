// SPDX-License-Identifier: MIT
#include "bench/peers/preload/camera_formats.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <string_view>

namespace tavelo::bench {
namespace {

template <std::size_t size>
void setText(unsigned char (&field)[size], std::string_view text) {
    std::fill_n(field, size, std::uint8_t(0));
    std::copy_n(text.begin(), std::min(size - 1, text.size()), field);
}

int describeCamera(v4l2_capability& camera) {
    camera = {};
    setText(camera.driver, "uvcvideo");
    setText(camera.card, "Pretend Camera");
    setText(camera.bus_info, "usb-0000:00:14.0-1");
    camera.version = 0x06'01'00;
    camera.device_caps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    camera.capabilities = camera.device_caps | V4L2_CAP_DEVICE_CAPS;
    return 0;
}

// Formats in the order of the modes, each once.
std::vector<std::uint32_t> formatsOf(const std::vector<CameraMode>& modes) {
    std::vector<std::uint32_t> formats;
    for (const CameraMode& mode : modes)
        if (std::ranges::find(formats, mode.fourcc) == formats.end()) formats.push_back(mode.fourcc);
    return formats;
}

int describeFormatEntry(const std::vector<CameraMode>& modes, v4l2_fmtdesc& entry) {
    const auto formats = formatsOf(modes);
    if (entry.type != V4L2_BUF_TYPE_VIDEO_CAPTURE || entry.index >= formats.size()) return EINVAL;
    const bool compressed = formats[entry.index] == mjpegFormat;
    entry.pixelformat = formats[entry.index];
    entry.flags = compressed ? V4L2_FMT_FLAG_COMPRESSED : 0;
    setText(entry.description, compressed ? "Motion-JPEG" : "YUYV 4:2:2");
    return 0;
}

int describeSize(const std::vector<CameraMode>& modes, v4l2_frmsizeenum& entry) {
    std::uint32_t index = 0;
    for (const CameraMode& mode : modes) {
        if (mode.fourcc != entry.pixel_format || index++ != entry.index) continue;
        entry.type = V4L2_FRMSIZE_TYPE_DISCRETE;
        entry.discrete = {mode.width, mode.height};
        return 0;
    }
    return EINVAL;
}

int describeInterval(const std::vector<CameraMode>& modes, v4l2_frmivalenum& entry) {
    const auto mode = std::ranges::find_if(modes, [&](const CameraMode& offered) {
        return offered.fourcc == entry.pixel_format && offered.width == entry.width &&
               offered.height == entry.height;
    });
    if (mode == modes.end() || entry.index > 0) return EINVAL;
    entry.type = V4L2_FRMIVAL_TYPE_DISCRETE;
    entry.discrete = {1, mode->framesPerSecond};
    return 0;
}

int describeInput(v4l2_input& input) {
    if (input.index > 0) return EINVAL;
    input = {};
    setText(input.name, "Camera 1");
    input.type = V4L2_INPUT_TYPE_CAMERA;
    return 0;
}

int tryFormat(const std::vector<CameraMode>& modes, v4l2_format& format) {
    if (format.type != V4L2_BUF_TYPE_VIDEO_CAPTURE) return EINVAL;
    return describeFormat(modes[closestMode(modes, format.fmt.pix)], format);
}

} // namespace

std::uint32_t closestMode(const std::vector<CameraMode>& modes, const v4l2_pix_format& wanted) {
    const auto distance = [&wanted](const CameraMode& mode) {
        constexpr std::int64_t otherFormat = 1'000'000;
        const std::int64_t wide = std::int64_t(mode.width) - wanted.width;
        const std::int64_t high = std::int64_t(mode.height) - wanted.height;
        return std::abs(wide) + std::abs(high) + (mode.fourcc == wanted.pixelformat ? 0 : otherFormat);
    };
    const auto closest = std::ranges::min_element(modes, {}, distance);
    return std::uint32_t(closest - modes.begin());
}

int describeFormat(const CameraMode& mode, v4l2_format& format) {
    if (format.type != V4L2_BUF_TYPE_VIDEO_CAPTURE) return EINVAL;
    v4l2_pix_format& pixels = format.fmt.pix;
    pixels = {};
    pixels.width = mode.width;
    pixels.height = mode.height;
    pixels.pixelformat = mode.fourcc;
    pixels.field = V4L2_FIELD_NONE;
    pixels.bytesperline = mode.bytesPerLine();
    pixels.sizeimage = mode.largestFrame;
    pixels.colorspace = V4L2_COLORSPACE_SRGB;
    pixels.ycbcr_enc = V4L2_YCBCR_ENC_601;
    return 0;
}

int answerAboutFormats(const std::vector<CameraMode>& modes, unsigned long request, void* argument) {
    switch (request) {
        case VIDIOC_QUERYCAP:
            return describeCamera(*static_cast<v4l2_capability*>(argument));
        case VIDIOC_ENUM_FMT:
            return describeFormatEntry(modes, *static_cast<v4l2_fmtdesc*>(argument));
        case VIDIOC_ENUM_FRAMESIZES:
            return describeSize(modes, *static_cast<v4l2_frmsizeenum*>(argument));
        case VIDIOC_ENUM_FRAMEINTERVALS:
            return describeInterval(modes, *static_cast<v4l2_frmivalenum*>(argument));
        case VIDIOC_TRY_FMT:
            return tryFormat(modes, *static_cast<v4l2_format*>(argument));
        case VIDIOC_ENUMINPUT:
            return describeInput(*static_cast<v4l2_input*>(argument));
        case VIDIOC_G_INPUT:
            *static_cast<int*>(argument) = 0;
            return 0;
        case VIDIOC_S_INPUT:
            return *static_cast<const int*>(argument) == 0 ? 0 : EINVAL;
        case VIDIOC_G_PRIORITY:
            *static_cast<std::uint32_t*>(argument) = V4L2_PRIORITY_DEFAULT;
            return 0;
        case VIDIOC_S_PRIORITY:
            return 0;
        default:
            return ENOTTY;
    }
}

} // namespace tavelo::bench
