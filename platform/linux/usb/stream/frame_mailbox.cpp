// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/frame_mailbox.h"

#include <utility>

namespace tavelo {

void FrameMailbox::open(std::size_t capacity) {
    const std::lock_guard lock(mutex_);
    for (Frame& frame : frames_) {
        frame.bytes.resize(capacity);
        frame.size = 0;
    }
    hasFrame_ = false;
    ended_ = false;
    endReason_ = ErrorCode::none;
    damaged_ = 0;
}

void FrameMailbox::publish() {
    {
        const std::lock_guard lock(mutex_);
        std::swap(writing_, waiting_);
        hasFrame_ = true;
        damaged_ = 0;
    }
    writing().size = 0;
    changed_.notify_all();
}

void FrameMailbox::countDamaged() {
    writing().size = 0;
    const std::lock_guard lock(mutex_);
    ++damaged_;
}

void FrameMailbox::end(ErrorCode reason) {
    {
        const std::lock_guard lock(mutex_);
        if (std::exchange(ended_, true)) return;
        endReason_ = reason;
    }
    changed_.notify_all();
}

FrameMailbox::Event FrameMailbox::wait(Clock::time_point deadline) {
    std::unique_lock lock(mutex_);
    changed_.wait_until(lock, deadline, [this] { return stopped_ || hasFrame_ || ended_; });
    if (stopped_) return Event::stopped;
    if (std::exchange(hasFrame_, false)) {
        std::swap(reading_, waiting_);
        return Event::frame;
    }
    return ended_ ? Event::ended : Event::silence;
}

ErrorCode FrameMailbox::endReason() const {
    const std::lock_guard lock(mutex_);
    return endReason_;
}

std::size_t FrameMailbox::damaged() const {
    const std::lock_guard lock(mutex_);
    return damaged_;
}

void FrameMailbox::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
    }
    changed_.notify_all();
}

void FrameMailbox::clearStop() {
    const std::lock_guard lock(mutex_);
    stopped_ = false;
}

bool FrameMailbox::isStopped() const {
    const std::lock_guard lock(mutex_);
    return stopped_;
}

bool FrameMailbox::waitForStop(std::chrono::milliseconds time) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, time, [this] { return stopped_; });
}

} // namespace tavelo
