// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/control_watch.h"

#include <poll.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "platform/linux/kernel/kernel_controls.h"
#include "platform/linux/v4l2/v4l2_controls.h"

namespace tavelo {

namespace {

// Bounds one look at the events if another program writes faster than they are taken.
constexpr int mostEventsAtOnce = 64;

bool subscribe(V4l2Node& node) {
    bool any = false;
    for (const KernelControl& control : kernelControls()) {
        for (const std::uint32_t id : {control.id, control.secondId})
            any = (id != 0 && subscribeToControl(node, id) == 0) || any;
    }
    return any;
}

const KernelControl* controlOf(std::uint32_t id) {
    if (id == 0) return nullptr;
    const auto controls = kernelControls();
    const auto found = std::ranges::find_if(
        controls, [id](const KernelControl& control) { return control.id == id || control.secondId == id; });
    return found == controls.end() ? nullptr : &*found;
}

} // namespace

std::unique_ptr<KernelControlWatch> KernelControlWatch::start(std::shared_ptr<V4l2Node> node,
                                                              std::shared_ptr<WakeEvent> ending,
                                                              ControlWatchEvents events) {
    if (!subscribe(*node)) return nullptr;
    return std::unique_ptr<KernelControlWatch>(
        new KernelControlWatch(std::move(node), std::move(ending), std::move(events)));
}

KernelControlWatch::KernelControlWatch(std::shared_ptr<V4l2Node> node, std::shared_ptr<WakeEvent> ending,
                                       ControlWatchEvents events)
    : ending_(std::move(ending)),
      events_(std::move(events)),
      node_(std::move(node)),
      thread_([this] { run(); }) {}

KernelControlWatch::~KernelControlWatch() {
    isDestroyed_ = true;
    ending_->set();
    thread_.join();
}

void KernelControlWatch::run() {
    pthread_setname_np(pthread_self(), "v4l2 events");
    std::vector<const KernelControl*> changed;
    bool goesOn = true;
    while (goesOn && waitForEvent()) {
        goesOn = takeEvents(changed);
        for (const KernelControl* control : std::exchange(changed, {}))
            goesOn = goesOn && report(*control);
    }
    unsubscribeFromControls(*node_);
    node_.reset(); // the driver keeps a camera that is gone until its last file is closed
    if (!isDestroyed_ && events_.ended) events_.ended();
}

/// False if none will come.
bool KernelControlWatch::waitForEvent() const {
    std::array<pollfd, 2> waiting{{{ending_->descriptor(), POLLIN, 0}, {node_->descriptor(), POLLPRI, 0}}};
    int ready = 0;
    do
        ready = ::poll(waiting.data(), waiting.size(), -1);
    while (ready < 0 && errno == EINTR);
    return ready > 0 && waiting[0].revents == 0 && waiting[1].revents == POLLPRI;
}

/// False if the node is ready without an event: it would stay so, and the thread would spin.
bool KernelControlWatch::takeEvents(std::vector<const KernelControl*>& changed) {
    std::uint32_t id = 0;
    int taken = 0;
    while (taken < mostEventsAtOnce && takeControlEvent(*node_, id) == 0) {
        ++taken;
        const KernelControl* control = controlOf(id);
        if (control != nullptr && std::ranges::find(changed, control) == changed.end())
            changed.push_back(control);
    }
    return taken > 0;
}

/// False if the camera is gone or the watch ends.
bool KernelControlWatch::report(const KernelControl& control) {
    if (ending_->isSet()) return false;
    KernelReply reply = readKernelControl(*node_, control, UvcRequest::getCur);
    if (controlErrorOf(reply.error, false) == ErrorCode::gone) return false;
    if (!isDestroyed_ && events_.changed) events_.changed({control.address, std::move(reply.bytes)});
    return true;
}

} // namespace tavelo
