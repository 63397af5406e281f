// SPDX-License-Identifier: MIT
#include "platform/linux/movie/frame_rate_meter.h"

#include <algorithm>

#include "platform/linux/movie/video_encoder.h"

namespace tavelo {
namespace {

constexpr std::int64_t window = videoTimeBase.den / 2;

} // namespace

void FrameRateMeter::add(std::int64_t time) {
    last_ = time;
    if (!started_) {
        started_ = true;
        begin_ = time;
        return;
    }
    ++frames_;
    if (time - begin_ < window) return;
    fastest_ = std::max(fastest_, rate(time));
    begin_ = time;
    frames_ = 0;
}

double FrameRateMeter::fastestAtTheEnd() const {
    return fastest_ > 0 || frames_ == 0 ? fastest_ : rate(last_);
}

double FrameRateMeter::rate(std::int64_t until) const {
    return until > begin_ ? double(frames_) * videoTimeBase.den / double(until - begin_) : 0;
}

} // namespace tavelo
