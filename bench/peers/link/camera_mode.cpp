// SPDX-License-Identifier: MIT
#include "bench/peers/link/camera_mode.h"

#include <charconv>
#include <system_error>

namespace tavelo::bench {
namespace {

constexpr std::uint32_t longestSide = 4096;
constexpr std::uint32_t shortestSide = 160; // ten pixels for each cell of the bar code
constexpr std::uint32_t highestRate = 240;

// Removes a number and the character after it from the front.
bool takeNumber(std::string_view& text, std::uint32_t& number, std::string_view follower) {
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc()) return false;
    text.remove_prefix(static_cast<std::size_t>(stopped - text.data()));
    if (!text.starts_with(follower)) return false;
    text.remove_prefix(follower.size());
    return true;
}

bool isSide(std::uint32_t pixels) {
    return pixels >= shortestSide && pixels <= longestSide && pixels % 2 == 0;
}

} // namespace

std::uint32_t CameraMode::bytesPerLine() const {
    return fourcc == yuyvFormat ? width * 2 : 0;
}

std::optional<CameraMode> parseCameraMode(std::string_view text) {
    if (text.size() < 5 || text[4] != ':') return std::nullopt;
    CameraMode mode;
    mode.fourcc = fourccOf(text.substr(0, 4));
    text.remove_prefix(5);
    const bool complete = takeNumber(text, mode.width, "x") && takeNumber(text, mode.height, "@") &&
                          takeNumber(text, mode.framesPerSecond, "") && text.empty();
    const bool known = mode.fourcc == yuyvFormat || mode.fourcc == mjpegFormat;
    const bool sane = isSide(mode.width) && isSide(mode.height) && mode.framesPerSecond > 0 &&
                      mode.framesPerSecond <= highestRate;
    return complete && known && sane ? std::optional(mode) : std::nullopt;
}

} // namespace tavelo::bench
