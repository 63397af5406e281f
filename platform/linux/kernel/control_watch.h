// SPDX-License-Identifier: MIT
// Tells what other programs, or the camera itself, change behind a video node.
#pragma once

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "platform/control_watch.h"
#include "platform/linux/kernel/kernel_control_table.h"
#include "platform/linux/v4l2/v4l2_node.h"
#include "platform/linux/wake_event.h"

namespace tavelo {

/// Waits for the driver's events on its own thread, "v4l2 events", and reads the value of a control that
/// changed: with a silent camera that takes seconds, and the destructor waits for it.
///
/// It shares the open node with the interface, since the driver does not tell a node of its own writes.
class KernelControlWatch final : public ControlWatch {
public:
    /// Null if the driver reports no change of any control.  Throws std::system_error if there can be no
    /// further thread.
    /// @param ending set by the interface when it is closed
    static std::unique_ptr<KernelControlWatch> start(std::shared_ptr<V4l2Node> node,
                                                     std::shared_ptr<WakeEvent> ending,
                                                     ControlWatchEvents events);
    ~KernelControlWatch() override;

    KernelControlWatch(const KernelControlWatch&) = delete;
    KernelControlWatch& operator=(const KernelControlWatch&) = delete;

private:
    KernelControlWatch(std::shared_ptr<V4l2Node> node, std::shared_ptr<WakeEvent> ending,
                       ControlWatchEvents events);

    void run();
    bool waitForEvent() const;
    bool takeEvents(std::vector<const KernelControl*>& changed);
    bool report(const KernelControl& control);

    const std::shared_ptr<WakeEvent> ending_;
    const ControlWatchEvents events_;
    std::atomic<bool> isDestroyed_ = false;
    std::shared_ptr<V4l2Node> node_; // used by the thread only

    std::thread thread_; // last: it uses everything above
};

} // namespace tavelo
