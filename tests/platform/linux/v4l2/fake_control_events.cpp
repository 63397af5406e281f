// SPDX-License-Identifier: MIT
#include "fake_control_events.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace tavelo::test {

FakeControlEvents::FakeControlEvents() {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw std::system_error(errno, std::generic_category(), "socketpair");
    node_ = FileDescriptor(ends[0]);
    driver_ = FileDescriptor(ends[1]);
}

void FakeControlEvents::refuse(std::uint32_t id) {
    const std::lock_guard lock(mutex_);
    refused_.insert(id);
}

void FakeControlEvents::refuseAll() {
    const std::lock_guard lock(mutex_);
    refusesAll_ = true;
}

void FakeControlEvents::happen(std::uint32_t id, std::uint32_t changes, bool byThisFile) {
    const std::lock_guard lock(mutex_);
    const auto found = subscribed_.find(id);
    if (found == subscribed_.end()) return;
    const bool hears = !byThisFile || (found->second & V4L2_EVENT_SUB_FL_ALLOW_FEEDBACK) != 0 ||
                       (changes & V4L2_EVENT_CTRL_CH_FLAGS) != 0;
    if (!hears) return;
    v4l2_event event{};
    event.type = V4L2_EVENT_CTRL;
    event.id = id;
    event.u.ctrl.changes = changes;
    queue(event);
}

void FakeControlEvents::happenElsewhere() {
    const std::lock_guard lock(mutex_);
    v4l2_event event{};
    event.type = V4L2_EVENT_EOS;
    event.id = V4L2_CID_BRIGHTNESS; // means nothing here
    queue(event);
}

void FakeControlEvents::lie() {
    ::send(driver_.get(), "!", 1, MSG_OOB | MSG_NOSIGNAL);
}

void FakeControlEvents::hangUp() {
    const std::lock_guard lock(mutex_);
    driver_.reset();
}

int FakeControlEvents::control(unsigned long request, void* argument) {
    const std::lock_guard lock(mutex_);
    switch (request) {
        case VIDIOC_SUBSCRIBE_EVENT:
            return subscribe(*static_cast<v4l2_event_subscription*>(argument));
        case VIDIOC_UNSUBSCRIBE_EVENT:
            subscribed_.clear();
            waiting_.clear();
            return 0;
        case VIDIOC_DQEVENT:
            return take(*static_cast<v4l2_event*>(argument));
        default:
            return ENOTTY;
    }
}

std::set<std::uint32_t> FakeControlEvents::subscriptions() const {
    const std::lock_guard lock(mutex_);
    std::set<std::uint32_t> ids;
    for (const auto& [id, flags] : subscribed_)
        ids.insert(id);
    return ids;
}

int FakeControlEvents::subscribe(const v4l2_event_subscription& subscription) {
    if (refusesAll_) return ENOTTY;
    if (subscription.type != V4L2_EVENT_CTRL || refused_.contains(subscription.id)) return EINVAL;
    subscribed_[subscription.id] = subscription.flags;
    return 0;
}

int FakeControlEvents::take(v4l2_event& event) {
    if (waiting_.empty()) return ENOENT;
    event = waiting_.front();
    waiting_.pop_front();
    char byte = 0;
    if (waiting_.empty()) ::recv(node_.get(), &byte, 1, MSG_OOB | MSG_DONTWAIT);
    return 0;
}

void FakeControlEvents::queue(const v4l2_event& event) {
    if (waiting_.empty()) ::send(driver_.get(), "!", 1, MSG_OOB | MSG_NOSIGNAL);
    waiting_.push_back(event);
}

} // namespace tavelo::test
