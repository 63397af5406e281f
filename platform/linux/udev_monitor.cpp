// SPDX-License-Identifier: MIT
#include "platform/linux/udev_monitor.h"

#include <libudev.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace tavelo {
namespace {

struct UdevDeleter {
    void operator()(udev* context) const { udev_unref(context); }
    void operator()(udev_monitor* monitor) const { udev_monitor_unref(monitor); }
    void operator()(udev_device* device) const { udev_device_unref(device); }
};

bool udevRuns() {
    return ::access("/run/udev/control", F_OK) == 0;
}

} // namespace

struct UdevMonitor::Connection {
    std::unique_ptr<udev, UdevDeleter> context;
    std::unique_ptr<udev_monitor, UdevDeleter> monitor;

    static std::unique_ptr<Connection> open(const std::string& subsystem, const std::string& deviceType) {
        auto connection = std::make_unique<Connection>();
        connection->context.reset(udev_new());
        if (!connection->context) return nullptr;
        connection->monitor.reset(
            udev_monitor_new_from_netlink(connection->context.get(), udevRuns() ? "udev" : "kernel"));
        udev_monitor* monitor = connection->monitor.get();
        const char* type = deviceType.empty() ? nullptr : deviceType.c_str();
        if (monitor == nullptr ||
            udev_monitor_filter_add_match_subsystem_devtype(monitor, subsystem.c_str(), type) < 0 ||
            udev_monitor_enable_receiving(monitor) < 0)
            return nullptr;
        return connection;
    }

    int descriptor() const { return udev_monitor_get_fd(monitor.get()); }

    // Takes all events that have come; true where there was one.
    bool drain() const {
        bool any = false;
        for (;;) {
            const std::unique_ptr<udev_device, UdevDeleter> device(
                udev_monitor_receive_device(monitor.get()));
            if (!device) return any;
            any = true;
        }
    }
};

UdevMonitor::UdevMonitor(const std::string& subsystem, const std::string& deviceType,
                         std::function<void()> changed)
    : changed_(std::move(changed)),
      connection_(Connection::open(subsystem, deviceType)) {
    if (!connection_) return;
    thread_ = std::thread([this] {
        pthread_setname_np(pthread_self(), "udev monitor");
        run();
    });
}

UdevMonitor::~UdevMonitor() {
    if (!thread_.joinable()) return;
    stop_.set();
    thread_.join();
}

void UdevMonitor::run() {
    for (;;) {
        pollfd waiting[] = {{stop_.descriptor(), POLLIN, 0}, {connection_->descriptor(), POLLIN, 0}};
        if (::poll(waiting, 2, -1) < 0 && errno != EINTR) return;
        if (waiting[0].revents != 0) return;
        if (waiting[1].revents == 0) continue;
        // A socket that lost events under load says so with an error and nothing to take: look anyway.
        const bool lost = (waiting[1].revents & POLLERR) != 0;
        if (connection_->drain() || lost) changed_();
        if ((waiting[1].revents & (POLLHUP | POLLNVAL)) != 0) return;
    }
}

} // namespace tavelo
