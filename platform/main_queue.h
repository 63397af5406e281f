// SPDX-License-Identifier: MIT
// The way back to the main thread.
#pragma once

#include "platform/task.h"

namespace tavelo {

/// Runs tasks on the main thread, one after another, in the order in which they were posted.
class MainQueue {
public:
    virtual ~MainQueue() = default;

    /// Thread-safe; never runs the task before it returns.  Tasks still waiting when the program's event loop
    /// ends are dropped.
    virtual void post(Task task) = 0;
};

} // namespace tavelo
