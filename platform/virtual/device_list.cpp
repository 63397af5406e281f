// SPDX-License-Identifier: MIT
#include "platform/virtual/device_list.h"

#include <functional>
#include <utility>

#include "platform/common/standard_capture_session.h"
#include "platform/virtual/virtual_capture_device.h"

namespace tavelo {

VirtualCapturePlatform::VirtualCapturePlatform(std::shared_ptr<VirtualBus> bus, MainQueue& mainQueue,
                                               CaptureFormatRequest format)
    : bus_(std::move(bus)),
      mainQueue_(mainQueue),
      list_(mainQueue, std::equal_to<>(),
            [format = std::move(format)](const auto& camera, CameraArrival /*arrival*/) {
                return makeVirtualCaptureDevice(camera, format);
            }) {
    bus_->addListener(this);
    readBus(); // after the bus notifies us, so that no change is missed
}

VirtualCapturePlatform::~VirtualCapturePlatform() {
    bus_->removeListener(this);
}

std::vector<std::shared_ptr<CaptureDevice>> VirtualCapturePlatform::devicesWithMediaType(MediaType type) {
    return type == MediaType::video ? list_.devices() : std::vector<std::shared_ptr<CaptureDevice>>();
}

std::unique_ptr<CaptureSession> VirtualCapturePlatform::makeSession() {
    return makeStandardCaptureSession();
}

void VirtualCapturePlatform::addObserver(CaptureDeviceObserver* observer) {
    list_.addObserver(observer);
}

void VirtualCapturePlatform::removeObserver(CaptureDeviceObserver* observer) {
    list_.removeObserver(observer);
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
