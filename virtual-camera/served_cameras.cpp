// SPDX-License-Identifier: MIT
#include "virtual-camera/served_cameras.h"

#include <utility>

#include "platform/uvc/uvc_protocol.h"
#include "virtual-camera/two_function_gadget.h"
#include "virtual-camera/virtual_camera_gadget.h"

namespace tavelo {

ServedCameras::ServedCameras(usbip::UsbipServer& server, std::vector<VirtualCameraModel> models,
                             RequestLog* log, bool twoFunctions)
    : server_(server),
      devices_(static_cast<int>(models.size())) {
    for (int each = 1; twoFunctions && each <= devices_; ++each)
        models.push_back(secondFunctionOf(models[static_cast<std::size_t>(each - 1)], devices_ + each));
    int number = 0;
    for (VirtualCameraModel& model : models)
        slots_.push_back({std::move(model), std::make_unique<LogObserver>(++number, log), nullptr});
    for (int each = 1; each <= devices_; ++each)
        plug(each);
}

ServedCameras::~ServedCameras() {
    for (int each = 1; each <= devices_; ++each)
        vanish(each);
}

std::shared_ptr<VirtualCameraFirmware> ServedCameras::camera(int number) const {
    const std::scoped_lock lock(mutex_);
    return exists(number) ? slot(number).firmware : nullptr;
}

bool ServedCameras::isImported(int number) const {
    return server_.isImported(busIdOf(deviceOf(number)));
}

bool ServedCameras::plug(int number) {
    const std::scoped_lock lock(mutex_);
    if (!isDevice(number) || slot(number).firmware) return false;
    const auto first = makeFirmware(number);
    std::shared_ptr<UsbGadget> gadget;
    if (hasSecond())
        gadget = std::make_shared<TwoFunctionGadget>(first, makeFirmware(number + devices_));
    else
        gadget = std::make_shared<VirtualCameraGadget>(first);
    server_.plug(busIdOf(number), std::move(gadget));
    return true;
}

std::shared_ptr<VirtualCameraFirmware> ServedCameras::makeFirmware(int number) {
    Slot& free = slot(number);
    free.firmware = std::make_shared<VirtualCameraFirmware>(free.model);
    free.firmware->addObserver(free.observer.get());
    return free.firmware;
}

// The firmware first: it ends waiting requests, so that the connection can close at once.
bool ServedCameras::vanish(int number) {
    const std::scoped_lock lock(mutex_);
    if (!isDevice(number) || !slot(number).firmware) return false;
    std::vector<std::pair<Slot*, std::shared_ptr<VirtualCameraFirmware>>> going;
    for (int each = number; each <= size(); each += devices_)
        going.emplace_back(&slot(each), std::exchange(slot(each).firmware, nullptr));
    for (const auto& [place, firmware] : going)
        firmware->vanish();
    server_.unplug(busIdOf(number));
    for (const auto& [place, firmware] : going)
        firmware->removeObserver(place->observer.get());
    return true;
}

void ServedCameras::LogObserver::requestAnswered(const RequestRecord& record) {
    const bool classRequest = (record.setup.bmRequestType & uvc::typeMask) == uvc::typeClass;
    if (log_ != nullptr && classRequest) log_->write(number_, record);
}

VirtualCameraModel secondFunctionOf(const VirtualCameraModel& first, int number) {
    VirtualCameraModel second = virtualCameraModel(number);
    second.firstInterface = static_cast<std::uint8_t>(first.firstInterface + 2);
    second.locationID = first.locationID;
    second.transport = first.transport;
    second.offers = first.offers;
    return second;
}

std::string busIdOf(int cameraNumber) {
    return "1-" + std::to_string(cameraNumber);
}

} // namespace tavelo
