// SPDX-License-Identifier: MIT
// A main queue whose tasks run when the test calls drain().
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include "platform/main_queue.h"

namespace tavelo {

class ManualMainQueue final : public MainQueue {
public:
    void post(Task task) override {
        const std::scoped_lock lock(mutex_);
        tasks_.push_back(std::move(task));
    }

    /// Runs all queued tasks, including those posted meanwhile.
    void drain() {
        std::unique_lock lock(mutex_);
        while (!tasks_.empty()) {
            Task task = std::move(tasks_.front());
            tasks_.pop_front();
            lock.unlock();
            task();
            lock.lock();
        }
    }

private:
    std::mutex mutex_;
    std::deque<Task> tasks_;
};

} // namespace tavelo
