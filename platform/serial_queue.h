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

/// Runs tasks on its own thread, in order of arrival, one at a time.
///
/// Thread-safe.  The queue keeps its memory when it grows, so it allocates nothing in steady state.  An
/// exception that escapes from a task terminates the program.  The destructor runs what was queued before it,
/// then joins the thread; never destroy a queue from its own task.
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

    /// Queues the task and waits until it has run.  On the queue's own thread the task runs at once.  Never
    /// call it while holding a lock that a task of this queue takes.
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
