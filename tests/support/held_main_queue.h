// SPDX-License-Identifier: MIT
// A main queue without an event loop: tasks run when the test says so.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include "platform/main_queue.h"

namespace tavelo {

/// Thread-safe, but for the functions that run tasks: those are for the test's own thread.
class HeldMainQueue final : public MainQueue {
public:
    void post(Task task) override {
        const std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
        posted_.notify_all();
    }

    /// Runs tasks, and waits for more, until the condition holds.  False if it never does.
    template <typename Condition>
    [[nodiscard]] bool runUntil(Condition condition) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (!condition()) {
            Task task;
            {
                std::unique_lock lock(mutex_);
                if (!posted_.wait_until(lock, deadline, [this] { return !tasks_.empty(); })) return false;
                task = std::move(tasks_.front());
                tasks_.pop_front();
            }
            task();
        }
        return true;
    }

private:
    static constexpr std::chrono::seconds patience{60}; // sanitizers are slow

    std::mutex mutex_; // guards the rest
    std::condition_variable posted_;
    std::deque<Task> tasks_;
};

} // namespace tavelo
