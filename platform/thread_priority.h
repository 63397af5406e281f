// SPDX-License-Identifier: MIT
// Higher priority for the threads that process pictures.
#pragma once

namespace tavelo {

/// Thread-safe.
class ThreadPriority {
public:
    virtual ~ThreadPriority() = default;

    /// Requests a higher priority for the calling thread and returns at once.  The request is granted a
    /// moment later, or fails silently.
    virtual void raise() noexcept = 0;
};

} // namespace tavelo
