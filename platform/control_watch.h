// SPDX-License-Identifier: MIT
// Changes of a camera's controls that its user did not make.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/control_address.h"

namespace tavelo {

/// A control that another program, or the camera itself, changed.
struct ChangedControl {
    ControlAddress control;
    /// What GET_CUR would deliver now; empty if that is not known.
    std::vector<std::uint8_t> value;

    friend bool operator==(const ChangedControl&, const ChangedControl&) = default;
};

/// Called on the watch's own thread, one call after another; may be empty and must not throw.
struct ControlWatchEvents {
    /// Several changes of one control may be reported as one.  What is reported may be no change for the
    /// caller: another program wrote the same value again, or the range or the state of the control changed
    /// and not its value, as for a manual control whose automatic one was switched, by the caller too.
    std::function<void(const ChangedControl& change)> changed;
    /// Called once if nothing can be reported any more: the interface was closed, or the camera is gone.
    std::function<void()> ended;
};

/// Reports changes while it lives.
///
/// What is written through the interface that it watches is not reported, what this program writes through
/// another interface of the same camera is.  The destructor waits for a call in progress; afterwards there
/// are no more.  It must not run within a call.
class ControlWatch {
public:
    virtual ~ControlWatch() = default;
};

} // namespace tavelo
