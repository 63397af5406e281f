// SPDX-License-Identifier: MIT
// Records when a bus prober says that the bus changed.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/bus_prober.h"
#include "support/wait_limit.h"

namespace tavelo::testing {

/// Thread-safe.
class RecordedBusChanges final : public BusProberDelegate {
public:
    void busProberInformationDidChange() override {
        const std::lock_guard lock(mutex_);
        ++count_;
        thread_ = std::this_thread::get_id();
        changed_.notify_all();
    }

    /// False on timeout.
    [[nodiscard]] bool waitForChanges(int count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, waitLimit, [&] { return count_ >= count; });
    }

    int count() const {
        const std::lock_guard lock(mutex_);
        return count_;
    }
    /// That of the last call.
    std::thread::id thread() const {
        const std::lock_guard lock(mutex_);
        return thread_;
    }

private:
    mutable std::mutex mutex_; // guards the rest
    std::condition_variable changed_;
    int count_ = 0;
    std::thread::id thread_;
};

} // namespace tavelo::testing
