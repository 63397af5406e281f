// SPDX-License-Identifier: MIT
// A queue of tasks for the main thread.
#pragma once

#include "platform/task.h"

namespace tavelo {

/// Runs tasks on the main thread, one after another, in the order in which they are posted.
class MainQueue {
public:
    virtual ~MainQueue() = default;

    /// Thread-safe; never runs the task before it returns.  Tasks still queued when the program's event loop
    /// ends are dropped.
    virtual void post(Task task) = 0;
};

} // namespace tavelo
