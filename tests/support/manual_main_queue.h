// SPDX-License-Identifier: MIT
// A main queue without an event loop: the test decides when tasks run.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include "platform/main_queue.h"
#include "support/wait_limit.h"

namespace tavelo::testing {

/// Thread-safe, except that only the test's own thread may run tasks.
class ManualMainQueue final : public MainQueue {
public:
    void post(Task task) override {
        const std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
        posted_.notify_all();
    }

    /// Runs all queued tasks, including those posted meanwhile.
    void drain() {
        while (runNext(std::chrono::steady_clock::now())) {
        }
    }

    /// Runs tasks and waits for more until the condition holds.  Returns false on timeout.
    template <typename Condition>
    [[nodiscard]] bool runUntil(Condition condition) {
        const auto deadline = std::chrono::steady_clock::now() + waitLimit;
        while (!condition()) {
            if (!runNext(deadline)) return false;
        }
        return true;
    }

private:
    bool runNext(std::chrono::steady_clock::time_point deadline) {
        Task task;
        {
            std::unique_lock lock(mutex_);
            if (!posted_.wait_until(lock, deadline, [this] { return !tasks_.empty(); })) return false;
            task = std::move(tasks_.front());
            tasks_.pop_front();
        }
        task();
        return true;
    }

    std::mutex mutex_; // guards the rest
    std::condition_variable posted_;
    std::deque<Task> tasks_;
};

} // namespace tavelo::testing
