// SPDX-License-Identifier: MIT
// What the pretend camera can send.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <type_traits>

namespace tavelo::bench {

/// One format at one size and rate; crosses from the camera to the program as it is.
struct CameraMode {
    std::uint32_t fourcc = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t framesPerSecond = 0;
    std::uint32_t largestFrame = 0; ///< in bytes

    /// Of a format with rows, else 0.
    std::uint32_t bytesPerLine() const;

    friend bool operator==(const CameraMode&, const CameraMode&) = default;
};
static_assert(std::is_trivially_copyable_v<CameraMode>);

constexpr std::uint32_t fourccOf(std::string_view four) {
    std::uint32_t code = 0;
    for (unsigned at = 0; at < 4 && at < four.size(); ++at)
        code |= std::uint32_t(static_cast<unsigned char>(four[at])) << (8 * at);
    return code;
}

inline constexpr std::uint32_t yuyvFormat = fourccOf("YUYV");
inline constexpr std::uint32_t mjpegFormat = fourccOf("MJPG");

/// From "MJPG:1280x720@30"; YUYV and MJPG only, sides even and at most 4096, at most 240 frames a second.
std::optional<CameraMode> parseCameraMode(std::string_view text);

} // namespace tavelo::bench
