// SPDX-License-Identifier: MIT
#include "platform/serial_queue.h"

#include <pthread.h>

#include <utility>

namespace tavelo {
namespace {

constexpr std::size_t initialCapacity = 16;

// The kernel keeps 15 characters of a thread's name; debuggers and top show them.
void nameThisThread(const std::string& label) {
    pthread_setname_np(pthread_self(), label.substr(0, 15).c_str());
}

} // namespace

SerialQueue::SerialQueue(std::string label)
    : label_(std::move(label)),
      ring_(initialCapacity),
      thread_([this] { run(); }) {}

SerialQueue::~SerialQueue() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

void SerialQueue::async(Task task) {
    {
        const std::lock_guard lock(mutex_);
        if (count_ == ring_.size()) {
            std::vector<Task> larger(ring_.size() * 2);
            for (std::size_t i = 0; i < count_; ++i)
                larger[i] = std::move(ring_[(first_ + i) % ring_.size()]);
            ring_ = std::move(larger);
            first_ = 0;
        }
        ring_[(first_ + count_) % ring_.size()] = std::move(task);
        ++count_;
    }
    wake_.notify_one();
}

void SerialQueue::sync(const std::function<void()>& task) {
    if (isCurrent()) {
        task();
        return;
    }
    std::mutex doneMutex;
    std::condition_variable doneWake;
    bool done = false;
    async([&] {
        task();
        // Notified under the lock: the waiter's frame may be gone as soon as it is released.
        const std::lock_guard lock(doneMutex);
        done = true;
        doneWake.notify_one();
    });
    std::unique_lock lock(doneMutex);
    doneWake.wait(lock, [&] { return done; });
}

void SerialQueue::run() {
    nameThisThread(label_);
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [this] { return count_ > 0 || stopping_; });
        if (count_ == 0) return;
        Task task = std::move(ring_[first_]);
        first_ = (first_ + 1) % ring_.size();
        --count_;
        lock.unlock();
        task();
        task = Task(); // destroy what the task captured outside the lock
        lock.lock();
    }
}

} // namespace tavelo
