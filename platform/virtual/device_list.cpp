// SPDX-License-Identifier: MIT
#include "platform/virtual/device_list.h"

#include <functional>
#include <utility>

#include "platform/virtual/virtual_capture_device.h"

namespace tavelo {

VirtualCapturePlatform::VirtualCapturePlatform(std::shared_ptr<VirtualBus> bus, MainQueue& mainQueue,
                                               CaptureFormatRequest format)
    : ListedCapturePlatform(nullptr, mainQueue, std::equal_to<>(),
                            [format = std::move(format)](const auto& camera, CameraArrival /*arrival*/) {
                                return makeVirtualCaptureDevice(camera, format);
                            }),
      bus_(std::move(bus)),
      mainQueue_(mainQueue) {
    bus_->addListener(this);
    readBus(); // after the bus notifies us, so that no change is missed
}

VirtualCapturePlatform::~VirtualCapturePlatform() {
    bus_->removeListener(this);
}

void VirtualCapturePlatform::virtualBusDidChange() {
    // The bus cannot be asked here: it may hold a camera's lock.  Both the task and the destructor run on the
    // main thread, so alive_ cannot expire during the task.
    mainQueue_.post([this, alive = std::weak_ptr<const bool>(alive_)] {
        if (!alive.expired()) readBus();
    });
}

void VirtualCapturePlatform::readBus() {
    list_.fill([this] { return bus_->cameras(); });
}

} // namespace tavelo
