// SPDX-License-Identifier: MIT
// Records reported lines.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/diagnostics.h"
#include "support/wait_limit.h"

namespace tavelo::testing {

/// Thread-safe.
class RecordedDiagnostics final : public Diagnostics {
public:
    void report(std::string_view device, std::string_view reason) noexcept override {
        const std::lock_guard lock(mutex_);
        lines_.push_back(std::string(device) + ": " + std::string(reason));
        changed_.notify_all();
    }

    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

    /// False on timeout.
    [[nodiscard]] bool waitForLines(std::size_t count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, waitLimit, [&] { return lines_.size() >= count; });
    }

private:
    mutable std::mutex mutex_; // guards lines_
    std::condition_variable changed_;
    std::vector<std::string> lines_;
};

} // namespace tavelo::testing
