// SPDX-License-Identifier: MIT
// When a camera that failed is talked to again.
#pragma once

#include <chrono>

#include "platform/usb_interface.h"

namespace tavelo {

/// Decides whether the interface that a failed request closed is opened anew for what the user does next.
///
/// A camera that refuses has answered, so it is opened at once.  After any other failure the next request may
/// block for seconds: it has to wait until the user has left the camera alone for quietTime.  Holding a key
/// or turning the wheel therefore never blocks a second time, nor does a drag, which opens once at most,
/// however long the pointer rests in between.  Thread-bound.
class ReopeningPolicy {
public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::milliseconds quietTime{1000};

    /// Before an action, if the interface is closed.  A yes counts as opened.
    /// @param failure why it was closed, at `failedAt`
    bool mayOpen(UsbStatus failure, Time failedAt, Time now);

    /// After each action: quiet begins here, for an action may have blocked.
    /// @param held the action is part of a drag that goes on
    void actionEnded(Time now, bool held);

    /// The drag is over without a last action.
    void dragEnded() { hasOpened_ = false; }

private:
    Time lastAction_ = Time::min();
    bool hasOpened_ = false; // in this drag
};

} // namespace tavelo
