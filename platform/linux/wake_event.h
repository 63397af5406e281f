// SPDX-License-Identifier: MIT
// A flag that poll() can wait on.
#pragma once

#include <chrono>

#include "platform/common/file_descriptor.h"

namespace tavelo {

/// Once set, it ends every wait until it is cleared.  Thread-safe.
class WakeEvent {
public:
    WakeEvent();

    void set();
    void clear();
    bool isSet() const;

    /// @return whether it was set in time
    bool waitFor(std::chrono::milliseconds time) const;

    /// Readable while set.
    int descriptor() const { return event_.get(); }

private:
    FileDescriptor event_;
};

} // namespace tavelo
