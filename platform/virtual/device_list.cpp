// SPDX-License-Identifier: MIT
#include "platform/virtual/device_list.h"

#include <algorithm>
#include <utility>

#include "platform/common/standard_capture_session.h"
#include "platform/virtual/virtual_capture_device.h"

namespace tavelo {

VirtualCapturePlatform::VirtualCapturePlatform(std::shared_ptr<VirtualBus> bus, MainQueue& mainQueue,
                                               CaptureFormatRequest format)
    : bus_(std::move(bus)),
      mainQueue_(mainQueue),
      format_(std::move(format)) {
    readBus();
    bus_->addListener(this);
    virtualBusDidChange(); // for changes between the two calls
}

VirtualCapturePlatform::~VirtualCapturePlatform() {
    bus_->removeListener(this);
}

std::vector<std::shared_ptr<CaptureDevice>> VirtualCapturePlatform::devicesWithMediaType(MediaType type) {
    std::vector<std::shared_ptr<CaptureDevice>> devices;
    for (const Entry& entry : entries_)
        if (entry.device->hasMediaType(type)) devices.push_back(entry.device);
    return devices;
}

std::unique_ptr<CaptureSession> VirtualCapturePlatform::makeSession() {
    return makeStandardCaptureSession();
}

void VirtualCapturePlatform::addObserver(CaptureDeviceObserver* observer) {
    observers_.push_back(observer);
}

void VirtualCapturePlatform::removeObserver(CaptureDeviceObserver* observer) {
    std::erase(observers_, observer);
}

void VirtualCapturePlatform::virtualBusDidChange() {
    // Both the task and the destructor run on the main thread, so alive_ cannot expire during the task.
    mainQueue_.post([this, alive = std::weak_ptr<const bool>(alive_)] {
        if (!alive.expired()) readBus();
    });
}

void VirtualCapturePlatform::readBus() {
    const auto cameras = bus_->cameras();
    std::vector<std::shared_ptr<CaptureDevice>> gone;
    std::erase_if(entries_, [&](const Entry& entry) {
        const bool left = std::ranges::find(cameras, entry.camera) == cameras.end();
        if (left) gone.push_back(entry.device);
        return left;
    });
    for (const auto& device : gone)
        tellObservers(
            [&](CaptureDeviceObserver& observer) { observer.captureDeviceWasDisconnected(device); });
    for (const auto& camera : cameras) {
        if (std::ranges::find(entries_, camera, &Entry::camera) != entries_.end()) continue;
        const auto device = makeVirtualCaptureDevice(camera, format_);
        entries_.push_back({camera, device});
        tellObservers([&](CaptureDeviceObserver& observer) { observer.captureDeviceWasConnected(device); });
    }
}

// Observers may remove themselves or others while they are called.
template <typename Tell>
void VirtualCapturePlatform::tellObservers(Tell&& tell) {
    const auto observers = observers_;
    for (CaptureDeviceObserver* observer : observers)
        if (std::ranges::find(observers_, observer) != observers_.end()) tell(*observer);
}

} // namespace tavelo
