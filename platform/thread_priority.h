// SPDX-License-Identifier: MIT
// More of the processor for the threads that carry pictures.
#pragma once

namespace tavelo {

/// Thread-safe.
class ThreadPriority {
public:
    virtual ~ThreadPriority() = default;

    /// Asks for a higher priority of the calling thread, and returns at once.  It is granted a
    /// moment later, or silently not at all.
    virtual void raise() noexcept = 0;
};

} // namespace tavelo
