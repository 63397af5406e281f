// SPDX-License-Identifier: MIT
// When to put a profile back that another program changed.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>

namespace tavelo {

/// For one camera.  It waits until the camera has been left alone for a second, and does not fight: after six
/// times within a minute it stays away for a minute.  A program that never leaves the camera alone for a
/// second is never answered.  Reentrant.
class KeepingPolicy {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::seconds quiet{1};
    static constexpr std::size_t mostPerMinute = 6;
    static constexpr std::chrono::minutes minute{1};

    /// Something of the profile was changed.
    void disturbed(TimePoint now) { due_ = std::max<TimePoint>(now + quiet, awayUntil_); }

    /// When to look at the camera.
    TimePoint due() const { return due_; }

    enum class Answer : std::uint8_t { putBack, stayAway };

    /// The camera differs from the profile, and the time has come.  After `stayAway`, due() is a minute
    /// later.
    Answer differs(TimePoint now) {
        while (!putBack_.empty() && now - putBack_.front() >= minute)
            putBack_.pop_front();
        if (putBack_.size() >= mostPerMinute) {
            awayUntil_ = due_ = now + minute;
            return Answer::stayAway;
        }
        putBack_.push_back(now);
        return Answer::putBack;
    }

private:
    TimePoint due_{};
    TimePoint awayUntil_{};
    std::deque<TimePoint> putBack_; // within the last minute
};

} // namespace tavelo
