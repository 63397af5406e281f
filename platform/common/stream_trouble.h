// SPDX-License-Identifier: MIT
// Why a stream delivers no pictures, passed from its thread to other threads.
#pragma once

#include <mutex>
#include <utility>

#include "platform/error.h"

namespace tavelo {

/// Thread-safe.  Setting allocates, clearing does not.
class StreamTrouble {
public:
    void set(Error error) {
        const std::lock_guard lock(mutex_);
        error_ = std::move(error);
    }
    void clear() {
        const std::lock_guard lock(mutex_);
        error_.code = ErrorCode::none;
        error_.text.clear();
    }
    Error get() const {
        const std::lock_guard lock(mutex_);
        return error_;
    }

private:
    mutable std::mutex mutex_; // guards error_
    Error error_;
};

} // namespace tavelo
