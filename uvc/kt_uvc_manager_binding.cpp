// SPDX-License-Identifier: MIT
// From a capture device's identifier to the camera's control interface.
#include "uvc/kt_uvc_manager.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace tavelo {
namespace {

bool contains(const LocationCandidates& locationIDs, std::uint32_t locationID) {
    return std::find(locationIDs.begin(), locationIDs.end(), locationID) != locationIDs.end();
}

constexpr UsbInterfaceMatch videoControl{14, 1, UsbInterfaceMatch::any, UsbInterfaceMatch::any};

} // namespace

void KTUVCManager::initProberWithBusProberScopeProberDelegate(int scope, BusProberDelegate* delegate) {
    setProber(usb_ != nullptr ? usb_->initBusProber(scope, delegate) : nullptr);
    if (prober_) prober_->refreshData(false);
}

bool KTUVCManager::uniqueIDIsCorrect(std::string_view uniqueID) const {
    if (!prober_) return false;
    const auto& cameras = prober_->devicesArray();
    const LocationCandidates locationIDs = locationCandidates(uniqueID);
    return std::any_of(locationIDs.begin(), locationIDs.end(), [&](std::uint32_t locationID) {
        return locationID != 0 && std::any_of(cameras.begin(), cameras.end(), [&](const auto& camera) {
                   return camera->locationID == locationID;
               });
    });
}

bool KTUVCManager::refreshDataWithUniqueIDString(std::string_view uniqueID) {
    const LocationCandidates locationIDs = locationCandidates(uniqueID);
    if (locationIDs[0] == 0 && locationIDs[1] == 0) return false;
    return refreshDataWithLocationID(locationIDs);
}

bool KTUVCManager::refreshDataWithLocationID(const LocationCandidates& locationIDs) {
    // The interface is let go, not closed: a push that still runs on another thread ends undisturbed.
    binding_.change([](CameraBinding& binding) {
        binding.inputTerminalID = CameraBinding().inputTerminalID;
        binding.processingUnitID = CameraBinding().processingUnitID;
        binding.interface = nullptr;
        binding.interfaceIsClosed = false;
        binding.recordsAreRead = false;
        binding.device = nullptr;
    });
    return bindRecordOf(locationIDs) && bindInterfaceOf(locationIDs);
}

bool KTUVCManager::bindRecordOf(const LocationCandidates& locationIDs) {
    if (!prober_) return false;
    const auto& cameras = prober_->devicesArray();
    const auto found = std::find_if(cameras.begin(), cameras.end(), [&](const auto& camera) {
        return contains(locationIDs, camera->locationID);
    });
    if (found == cameras.end()) return false;

    binding_.change([&](CameraBinding& binding) {
        const std::shared_ptr<const BusProberDevice>& camera = *found;
        binding.device = camera;
        binding.deviceLocationID = camera->locationID;
        if (camera->terminalID != -1) binding.inputTerminalID = camera->terminalID;
        if (camera->unitID != -1) binding.processingUnitID = camera->unitID;
    });
    return true;
}

void KTUVCManager::letGoOfInterface() {
    const std::shared_ptr<UsbInterface> held = interface();
    if (!held) return;
    held->USBInterfaceClose();
    setInterface(nullptr);
}

bool KTUVCManager::bindInterfaceOf(const LocationCandidates& locationIDs) {
    letGoOfInterface(); // one that somebody else has set meanwhile
    const std::unique_ptr<UsbDevice> deviceInterface = deviceAt(locationIDs);
    if (!deviceInterface) return false;

    const std::shared_ptr<UsbInterface> opened = _getControlInferaceWithDeviceInterface(*deviceInterface);
    // With its number at once: no request in between goes out with the last camera's.
    const std::int32_t number = opened ? opened->GetInterfaceNumber() : interfaceNumber();
    binding_.change([&](CameraBinding& binding) {
        binding.interface = opened;
        binding.interfaceNumber = number;
    });
    generalInit();
    return true;
}

std::unique_ptr<UsbDevice> KTUVCManager::deviceAt(const LocationCandidates& locationIDs) const {
    if (usb_ == nullptr) return nullptr;
    for (const std::unique_ptr<UsbDeviceService>& service : usb_->matchingDeviceServices()) {
        const std::unique_ptr<UsbDevicePlugIn> plugIn = service->CreatePlugInInterface();
        if (!plugIn) continue;
        std::unique_ptr<UsbDevice> deviceInterface = plugIn->QueryInterface();
        if (!deviceInterface || contains(locationIDs, deviceInterface->GetLocationID()))
            return deviceInterface; // one that does not answer ends the search
    }
    return nullptr;
}

bool KTUVCManager::openInterfaceAgain() {
    const CameraBinding bound = binding_.get();
    if (!bound.interfaceIsClosed) return bound.interface != nullptr;
    const std::uint32_t place = bound.deviceLocationID;
    const LocationCandidates location{place, place, place};
    if (!bound.recordsAreRead) return refreshDataWithLocationID(location) && !interfaceIsClosed();

    const std::unique_ptr<UsbDevice> deviceInterface = deviceAt(location);
    if (!deviceInterface) return false;
    const std::shared_ptr<UsbInterface> opened = _getControlInferaceWithDeviceInterface(*deviceInterface);
    if (!opened) return false;
    setInterface(opened);
    return true;
}

std::shared_ptr<UsbInterface> KTUVCManager::_getControlInferaceWithDeviceInterface(
    UsbDevice& deviceInterface) const {
    const auto services = deviceInterface.CreateInterfaceIterator(videoControl);
    if (!services || services->empty()) return nullptr;
    return services->front()->openInterface();
}

void KTUVCManager::generalInit() {
    if (const std::shared_ptr<UsbInterface> bound = interface())
        setInterfaceNumber(bound->GetInterfaceNumber());
    _populateAllParams();
    binding_.change([](CameraBinding& binding) { binding.recordsAreRead = !binding.interfaceIsClosed; });
}

} // namespace tavelo
