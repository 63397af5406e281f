// SPDX-License-Identifier: MIT
// When a walk over many controls goes on after a failed write.
#pragma once

#include <cstdint>

#include "platform/usb_interface.h"

namespace tavelo {

enum class AfterFailure : std::uint8_t {
    goOn,       ///< open the interface anew and write the next control
    afterQuiet, ///< the same; if there is time, give the camera a moment first
    end,        ///< the rest would fail too
};

/// One walk's patience with its camera.  A refusal is an answer and costs nothing; a camera that is gone or
/// did not answer for the second time ends the walk.  Reentrant.
class WalkPatience {
public:
    /// Once for each failure.
    AfterFailure judge(UsbStatus failure) {
        if (failure == UsbStatus::refused) return AfterFailure::goOn;
        if (failure == UsbStatus::gone || silences_ > 0) return AfterFailure::end;
        ++silences_;
        return AfterFailure::afterQuiet;
    }

private:
    int silences_ = 0;
};

} // namespace tavelo
