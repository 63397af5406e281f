// SPDX-License-Identifier: MIT
// Decides when to talk to a camera again after a failure.
#pragma once

#include <chrono>

#include "platform/error.h"

namespace tavelo {

/// Decides whether a user action may reopen the interface that a failed request closed.
///
/// A camera that refused a request has answered, so it is reopened at once.  After any other failure the next
/// request may block for seconds, so reopening has to wait until there was no user action for quietTime.
/// Holding a key or turning the wheel therefore never blocks twice.  Nor does a drag: it reopens at most
/// once, even if the pointer rests in between.  Thread-bound.
class ReopeningPolicy {
public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::milliseconds quietTime{1000};

    /// Call before an action if the interface is closed.  If it returns true, the interface counts as
    /// reopened.
    /// @param failure why the interface was closed, at `failedAt`
    bool mayOpen(ErrorCode failure, Time failedAt, Time now);

    /// Call after each action.  The quiet time starts here, because the action itself may have blocked.
    /// @param held the action is part of a drag that continues
    void actionEnded(Time now, bool held);

    /// Call when a drag ends without a last action.
    void dragEnded() { hasOpened_ = false; }

private:
    Time lastAction_ = Time::min();
    bool hasOpened_ = false; // during this drag
};

} // namespace tavelo
