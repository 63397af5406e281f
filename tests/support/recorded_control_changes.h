// SPDX-License-Identifier: MIT
// Records what a control watch reports.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/control_watch.h"
#include "support/wait_limit.h"

namespace tavelo::testing {

/// Thread-safe; must outlive the watch.
class RecordedControlChanges {
public:
    ControlWatchEvents events() {
        return {[this](const ChangedControl& change) { record(change); }, [this] { recordEnd(); }};
    }

    /// While held, a report does not return.
    void hold(bool held) {
        const std::lock_guard lock(mutex_);
        held_ = held;
        changed_.notify_all();
    }

    /// False on timeout.
    [[nodiscard]] bool waitForChanges(std::size_t count) {
        return waitFor([&] { return changes_.size() >= count; });
    }
    [[nodiscard]] bool waitForEnd() {
        return waitFor([&] { return ends_ > 0; });
    }

    std::vector<ChangedControl> changes() const {
        const std::lock_guard lock(mutex_);
        return changes_;
    }
    int ends() const {
        const std::lock_guard lock(mutex_);
        return ends_;
    }
    /// That of the last report.
    std::thread::id thread() const {
        const std::lock_guard lock(mutex_);
        return thread_;
    }

private:
    bool waitFor(const std::function<bool()>& condition) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, waitLimit, condition);
    }

    void record(const ChangedControl& change) {
        std::unique_lock lock(mutex_);
        changes_.push_back(change);
        thread_ = std::this_thread::get_id();
        changed_.notify_all();
        changed_.wait(lock, [this] { return !held_; });
    }

    void recordEnd() {
        const std::lock_guard lock(mutex_);
        ++ends_;
        changed_.notify_all();
    }

    mutable std::mutex mutex_; // guards the rest
    std::condition_variable changed_;
    std::vector<ChangedControl> changes_;
    int ends_ = 0;
    std::thread::id thread_;
    bool held_ = false;
};

} // namespace tavelo::testing
