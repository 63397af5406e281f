// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/camera_rate.h"

#include <algorithm>
#include <cmath>

namespace tavelo {
namespace {

constexpr std::array<FrameRate, 14> commonRates{{{5, 1},
                                                 {15, 2},
                                                 {10, 1},
                                                 {12, 1},
                                                 {15, 1},
                                                 {20, 1},
                                                 {24, 1},
                                                 {25, 1},
                                                 {30, 1},
                                                 {48, 1},
                                                 {50, 1},
                                                 {60, 1},
                                                 {90, 1},
                                                 {120, 1}}};
// Less than half of what is between 24 and 25.
constexpr double tolerance = 0.02;
constexpr double slowest = 1;
constexpr double fastest = 1000;

} // namespace

void CameraRate::add(const MediaTime& time) {
    if (count_ == needed || !time.isValid() || time.timescale <= 0) return;
    const double now = double(time.value) / time.timescale;
    if (last_ && now <= *last_) return;
    if (last_) intervals_[count_++] = now - *last_;
    last_ = now;
}

std::optional<FrameRate> CameraRate::rate() const {
    if (count_ < needed) return std::nullopt;
    std::array<double, needed> sorted = intervals_;
    std::ranges::sort(sorted);
    const double measured = std::clamp(1 / sorted[needed / 2], slowest, fastest);
    for (const FrameRate& common : commonRates) {
        const double rate = double(common.numerator) / common.denominator;
        if (std::abs(measured - rate) <= tolerance * rate) return common;
    }
    return FrameRate{std::uint32_t(std::lround(measured)), 1};
}

} // namespace tavelo
