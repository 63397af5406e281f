// SPDX-License-Identifier: MIT
#include "watch/watched_cameras.h"

#include <algorithm>
#include <utility>

namespace tavelo {

WatchedCameras::WatchedCameras(const WatchedCamerasParts& parts, WatchedCamerasEvents events)
    : parts_(parts),
      events_(std::move(events)) {
    parts_.backend.capture->addObserver(this);
    for (const auto& device : parts_.backend.capture->devicesWithMediaType(MediaType::video))
        add(device, Arrival::there);
}

WatchedCameras::~WatchedCameras() {
    parts_.backend.capture->removeObserver(this);
}

void WatchedCameras::captureDeviceWasConnected(const std::shared_ptr<CaptureDevice>& device) {
    add(device, Arrival::came);
}

void WatchedCameras::add(const std::shared_ptr<CaptureDevice>& device, Arrival arrival) {
    if (parts_.isChosen && !parts_.isChosen(*device)) return;
    // The events know the camera by its place in memory.
    const auto self = std::make_shared<WatchedCamera*>(nullptr);
    WatchedCameraEvents events;
    events.bound = [this, self] {
        if (events_.bound) events_.bound(**self);
    };
    events.changed = [this, self](KTUVCControl control, std::int64_t before) {
        if (events_.changed) events_.changed(**self, control, before);
    };
    const WatchedCameraParts parts{parts_.backend.usb.get(), parts_.mainQueue, parts_.clock};
    cameras_.push_back(std::make_unique<WatchedCamera>(device, parts, std::move(events)));
    *self = cameras_.back().get();
    if (events_.came) events_.came(**self, arrival);
}

void WatchedCameras::captureDeviceWasDisconnected(const std::shared_ptr<CaptureDevice>& device) {
    const auto found =
        std::ranges::find_if(cameras_, [&](const auto& camera) { return &camera->device() == device.get(); });
    if (found == cameras_.end()) return;
    const std::unique_ptr<WatchedCamera> gone = std::move(*found);
    cameras_.erase(found);
    if (events_.went) events_.went(*gone);
}

} // namespace tavelo
