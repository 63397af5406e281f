// SPDX-License-Identifier: MIT
// Records which threads asked for a higher priority.
#pragma once

#include <pthread.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "platform/thread_priority.h"
#include "support/wait_limit.h"

namespace tavelo::testing {

/// Thread-safe.
class RecordedPriorities final : public ThreadPriority {
public:
    void raise() noexcept override {
        std::array<char, 16> name{};
        pthread_getname_np(pthread_self(), name.data(), name.size());
        const std::lock_guard lock(mutex_);
        names_.emplace_back(name.data());
        changed_.notify_all();
    }

    /// Waits for a thread of that name to ask.  False on timeout.
    [[nodiscard]] bool waitFor(const std::string& name) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, waitLimit,
                                 [&] { return std::ranges::find(names_, name) != names_.end(); });
    }

private:
    std::mutex mutex_; // guards names_
    std::condition_variable changed_;
    std::vector<std::string> names_;
};

} // namespace tavelo::testing
