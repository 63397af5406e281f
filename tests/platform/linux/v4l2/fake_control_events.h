// SPDX-License-Identifier: MIT
// The events of a video node's controls, as the driver queues them for one open file.
#pragma once

#include <linux/videodev2.h>

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <set>

#include "platform/common/file_descriptor.h"

namespace tavelo::test {

/// Thread-safe.
class FakeControlEvents {
public:
    FakeControlEvents();

    /// The driver has no events, or none for this control.
    void refuse(std::uint32_t id);
    void refuseAll();

    /// Something happens to a control: an event for whoever has subscribed to it.
    /// @param byThisFile whether this file's own write caused it
    void happen(std::uint32_t id, std::uint32_t changes = V4L2_EVENT_CTRL_CH_VALUE, bool byThisFile = false);
    /// Another event than that of a control.
    void happenElsewhere();
    /// Readiness without an event.
    void lie();
    /// The node disappears: poll() reports POLLHUP.
    void hangUp();

    /// VIDIOC_SUBSCRIBE_EVENT, VIDIOC_UNSUBSCRIBE_EVENT, VIDIOC_DQEVENT.
    int control(unsigned long request, void* argument);
    int descriptor() const { return node_.get(); }

    std::set<std::uint32_t> subscriptions() const;

private:
    int subscribe(const v4l2_event_subscription& subscription);
    int take(v4l2_event& event);
    void queue(const v4l2_event& event);

    mutable std::mutex mutex_;                          // guards the rest
    std::map<std::uint32_t, std::uint32_t> subscribed_; // control and flags
    std::set<std::uint32_t> refused_;
    bool refusesAll_ = false;
    std::deque<v4l2_event> waiting_;
    // A byte out of band is what poll() reports as POLLPRI.
    FileDescriptor node_;
    FileDescriptor driver_;
};

} // namespace tavelo::test
