// SPDX-License-Identifier: MIT
// A clock that a test sets.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <utility>

#include "platform/clock.h"

namespace tavelo::testing {

/// Runs the tasks that are due while the test lets time pass.
class ManualClock final : public Clock {
public:
    TimePoint now() const override { return now_; }
    std::chrono::nanoseconds slept() const override { return slept_; }
    void callAfter(std::chrono::milliseconds time, Task task) override {
        tasks_.emplace(now_ + time, std::move(task));
    }

    /// Each task sees the time for which it was ordered.
    void pass(std::chrono::milliseconds time) {
        const TimePoint end = now_ + time;
        while (!tasks_.empty() && tasks_.begin()->first <= end) {
            auto due = tasks_.extract(tasks_.begin());
            now_ = due.key();
            due.mapped()();
        }
        now_ = end;
    }

    void sleep(std::chrono::nanoseconds time) { slept_ += time; }

    std::size_t waiting() const { return tasks_.size(); }

private:
    TimePoint now_{std::chrono::hours(1)};
    std::chrono::nanoseconds slept_{0};
    std::multimap<TimePoint, Task> tasks_;
};

} // namespace tavelo::testing
