// SPDX-License-Identifier: MIT
// A source of udev events fed by the test.
#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/linux/bus/udev_events.h"
#include "platform/linux/wake_event.h"

namespace tavelo::test {

/// The test's side.  Thread-safe.
class UdevEventFeed {
public:
    void push(UdevEvent event) {
        const std::lock_guard lock(mutex_);
        events_.push_back(std::move(event));
        ready_.set();
    }

    std::optional<UdevEvent> take() {
        const std::lock_guard lock(mutex_);
        if (events_.empty()) {
            ready_.clear();
            return std::nullopt;
        }
        UdevEvent event = std::move(events_.front());
        events_.pop_front();
        return event;
    }

    int descriptor() const { return ready_.descriptor(); }

private:
    std::mutex mutex_; // guards events_
    std::deque<UdevEvent> events_;
    WakeEvent ready_;
};

/// The side that the code under test reads.
class FakeUdevEvents final : public UdevEventSource {
public:
    explicit FakeUdevEvents(std::shared_ptr<UdevEventFeed> feed) : feed_(std::move(feed)) {}

    int descriptor() const override { return feed_->descriptor(); }
    std::optional<UdevEvent> receive() override { return feed_->take(); }

private:
    std::shared_ptr<UdevEventFeed> feed_;
};

} // namespace tavelo::test
