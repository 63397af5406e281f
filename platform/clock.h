// SPDX-License-Identifier: MIT
// The time, and calls at a later time.
#pragma once

#include <chrono>

#include "platform/task.h"

namespace tavelo {

/// Main thread only.
class Clock {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    virtual ~Clock() = default;

    /// Stands still while the machine sleeps.
    virtual TimePoint now() const = 0;

    /// How long the machine has slept since it was started, all sleeps together.
    virtual std::chrono::nanoseconds slept() const = 0;

    /// Runs the task once on the main thread, never within this call.  The time counts as in now().  Tasks
    /// that still wait when the clock is destroyed are dropped.
    virtual void callAfter(std::chrono::milliseconds time, Task task) = 0;
};

} // namespace tavelo
