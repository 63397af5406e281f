// SPDX-License-Identifier: MIT
// Whether a walk over many controls continues after a failed write.
#pragma once

#include <cstdint>

#include "platform/error.h"

namespace tavelo {

enum class AfterFailure : std::uint8_t {
    goOn,       ///< reopen the interface and write the next control
    afterQuiet, ///< the same; if there is time, give the camera a moment first
    end,        ///< the rest would fail too
};

/// Counts the failures of one walk.  A refusal is an answer and does not count; a camera that is gone or
/// fails to answer for the second time ends the walk.  Reentrant.
class WalkPatience {
public:
    /// Call it once for each failure.
    AfterFailure judge(ErrorCode failure) {
        if (failure == ErrorCode::refused) return AfterFailure::goOn;
        if (failure == ErrorCode::gone || silences_ > 0) return AfterFailure::end;
        ++silences_;
        return AfterFailure::afterQuiet;
    }

private:
    int silences_ = 0;
};

} // namespace tavelo
