// SPDX-License-Identifier: MIT
#include "platform/linux/bus/udev_monitor.h"

#include <poll.h>

#include <array>
#include <utility>

namespace tavelo {

UdevMonitor::UdevMonitor(std::unique_ptr<UdevEventSource> source,
                         std::function<void(const UdevEvent&)> handler)
    : source_(std::move(source)),
      handler_(std::move(handler)),
      thread_([this] { run(); }) {}

UdevMonitor::~UdevMonitor() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.set();
    thread_.join();
}

void UdevMonitor::async(Task task) {
    {
        const std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    wake_.set();
}

void UdevMonitor::run() {
    while (true) {
        std::array<pollfd, 2> waiting{{{wake_.descriptor(), POLLIN, 0}, {-1, POLLIN, 0}}};
        if (source_) waiting[1].fd = source_->descriptor();
        // A signal ended the wait early.
        if (::poll(waiting.data(), waiting.size(), -1) < 0) continue;
        if (waiting[0].revents != 0 && !runTasks()) return;
        if (waiting[1].revents != 0) readEvents(waiting[1].revents);
    }
}

// False if the monitor is stopping.
bool UdevMonitor::runTasks() {
    wake_.clear();
    std::vector<Task> tasks;
    {
        const std::lock_guard lock(mutex_);
        if (stopping_) return false;
        tasks.swap(tasks_);
    }
    for (Task& task : tasks)
        task();
    return true;
}

void UdevMonitor::readEvents(short readiness) {
    bool any = false;
    while (const auto event = source_->receive()) {
        any = true;
        handler_(*event);
    }
    // A broken source stays ready forever and would keep the thread spinning.
    const bool broken = (readiness & (POLLHUP | POLLNVAL)) != 0 || ((readiness & POLLERR) != 0 && !any);
    if (broken) source_.reset();
}

} // namespace tavelo
