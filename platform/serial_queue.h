// SPDX-License-Identifier: MIT
// A named thread that runs tasks one after another.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/task.h"

namespace tavelo {

/// A serial queue: a thread of its own, tasks in the order of their arrival, never two at once.
///
/// Thread-safe.  The queue grows when it must and keeps its memory, so a queue in its steady state allocates
/// nothing.  A task must not let an exception escape: there is nobody to catch it, and the program ends.
/// Destruction runs what was queued before it, then joins the thread; never destroy a queue from its own
/// task.
class SerialQueue {
public:
    explicit SerialQueue(std::string label);
    ~SerialQueue();

    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    std::string_view label() const { return label_; }

    /// Whether the caller runs on this queue's thread.
    bool isCurrent() const { return std::this_thread::get_id() == thread_.get_id(); }

    /// Queues the task and returns at once.
    void async(Task task);

    /// Queues the task and waits until it ran.  On the queue's own thread it runs at once.
    /// Never call it while holding a lock that a task of this queue takes.
    void sync(const std::function<void()>& task);

private:
    void run();

    const std::string label_;

    std::mutex mutex_; // guards the members up to the blank line
    std::condition_variable wake_;
    std::vector<Task> ring_;
    std::size_t first_ = 0;
    std::size_t count_ = 0;
    bool stopping_ = false;

    std::thread thread_; // last: it uses everything above
};

} // namespace tavelo
