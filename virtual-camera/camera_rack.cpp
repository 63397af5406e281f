// SPDX-License-Identifier: MIT
#include "virtual-camera/camera_rack.h"

#include <utility>

#include "platform/virtual/uvc_protocol.h"
#include "virtual-camera/virtual_camera_gadget.h"

namespace tavelo {

CameraRack::CameraRack(usbip::UsbipServer& server, std::vector<VirtualCameraModel> models, RequestLog* log)
    : server_(server) {
    int number = 0;
    for (VirtualCameraModel& model : models)
        slots_.push_back({std::move(model), std::make_unique<Watch>(++number, log), nullptr});
    for (int each = 1; each <= size(); ++each)
        plug(each);
}

CameraRack::~CameraRack() {
    for (int each = 1; each <= size(); ++each)
        vanish(each);
}

std::shared_ptr<VirtualCameraFirmware> CameraRack::camera(int number) const {
    const std::scoped_lock lock(mutex_);
    return exists(number) ? slot(number).firmware : nullptr;
}

bool CameraRack::isImported(int number) const {
    return server_.isImported(busIdOf(number));
}

bool CameraRack::plug(int number) {
    const std::scoped_lock lock(mutex_);
    if (!exists(number) || slot(number).firmware) return false;
    Slot& free = slot(number);
    free.firmware = std::make_shared<VirtualCameraFirmware>(free.model);
    free.firmware->addObserver(free.watch.get());
    server_.plug(busIdOf(number), std::make_shared<VirtualCameraGadget>(free.firmware));
    return true;
}

// The firmware first: it lets go of requests that wait, so the connection can end at once.
bool CameraRack::vanish(int number) {
    const std::scoped_lock lock(mutex_);
    if (!exists(number) || !slot(number).firmware) return false;
    const std::shared_ptr<VirtualCameraFirmware> firmware = std::exchange(slot(number).firmware, nullptr);
    firmware->vanish();
    server_.unplug(busIdOf(number));
    firmware->removeObserver(slot(number).watch.get());
    return true;
}

void CameraRack::Watch::requestAnswered(const RequestRecord& record) {
    const bool classRequest = (record.setup.bmRequestType & uvc::typeMask) == uvc::typeClass;
    if (log_ != nullptr && classRequest) log_->write(number_, record);
}

std::string busIdOf(int cameraNumber) {
    return "1-" + std::to_string(cameraNumber);
}

} // namespace tavelo
