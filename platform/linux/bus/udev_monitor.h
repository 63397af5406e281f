// SPDX-License-Identifier: MIT
// A thread that waits for udev events.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/linux/bus/udev_events.h"
#include "platform/linux/wake_event.h"
#include "platform/task.h"

namespace tavelo {

/// Reads events on its own thread.
///
/// Thread-safe.  After the destructor has returned, no call of the handler is running and none follows.  A
/// monitor must not be destroyed on its own thread.
class UdevMonitor {
public:
    /// @param source  may be null: there are no events then, but tasks still run
    /// @param handler called on the monitor's thread, one event after another; must not throw
    UdevMonitor(std::unique_ptr<UdevEventSource> source, std::function<void(const UdevEvent&)> handler);
    ~UdevMonitor();

    UdevMonitor(const UdevMonitor&) = delete;
    UdevMonitor& operator=(const UdevMonitor&) = delete;

    /// Runs a task on the monitor's thread.  Tasks still waiting when the monitor ends are dropped.
    void async(Task task);

private:
    void run();
    bool runTasks();
    void readEvents(short readiness);

    std::unique_ptr<UdevEventSource> source_;
    const std::function<void(const UdevEvent&)> handler_;
    WakeEvent wake_;

    std::mutex mutex_; // guards the members up to the blank line
    std::vector<Task> tasks_;
    bool stopping_ = false;

    std::thread thread_; // last: it uses everything above
};

} // namespace tavelo
