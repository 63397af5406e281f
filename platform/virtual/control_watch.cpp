// SPDX-License-Identifier: MIT
#include "platform/virtual/control_watch.h"

#include <utility>

namespace tavelo {

bool VirtualControlWatch::Reach::finds() const {
    const std::scoped_lock lock(mutex_);
    return watch_ != nullptr;
}

void VirtualControlWatch::Reach::end() {
    const std::scoped_lock lock(mutex_);
    if (watch_ != nullptr) watch_->end();
}

VirtualControlWatch::VirtualControlWatch(std::shared_ptr<VirtualCameraFirmware> firmware, FirmwareHost host,
                                         std::shared_ptr<Reach> reach, ControlWatchEvents events)
    : firmware_(std::move(firmware)),
      host_(host),
      reach_(std::move(reach)),
      events_(std::move(events)),
      queue_("virtual events") {
    firmware_->addObserver(this);
    const std::scoped_lock lock(reach_->mutex_);
    reach_->watch_ = this;
}

VirtualControlWatch::~VirtualControlWatch() {
    isDestroyed_ = true; // drops what is queued
    firmware_->removeObserver(this);
    const std::scoped_lock lock(reach_->mutex_);
    reach_->watch_ = nullptr;
}

void VirtualControlWatch::controlSet(const ChangedControl& change, FirmwareHost host) {
    if (host == host_ || hasEnded_) return;
    queue_.async([this, change] {
        if (!isDestroyed_ && events_.changed) events_.changed(change);
    });
}

void VirtualControlWatch::end() {
    if (hasEnded_.exchange(true)) return;
    queue_.async([this] {
        if (!isDestroyed_ && events_.ended) events_.ended();
    });
}

} // namespace tavelo
