// SPDX-License-Identifier: MIT
// Finds and opens a camera's control interface by the capture device's identifier.
#include "uvc/kt_uvc_manager.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace tavelo {
namespace {

bool contains(const LocationCandidates& locationIDs, std::uint32_t locationID) {
    return std::find(locationIDs.begin(), locationIDs.end(), locationID) != locationIDs.end();
}

/// Whether a record is the requested video function; for a device's first one the location is enough.
bool isMeant(const LocationCandidates& locationIDs, const BusProberDevice& camera) {
    return !locationIDs.controlInterface || camera.controlInterface == locationIDs.controlInterface;
}

constexpr UsbInterfaceMatch videoControl{uvc::videoClass, uvc::controlSubClass, UsbInterfaceMatch::any,
                                         UsbInterfaceMatch::any};

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
                   return camera->locationID == locationID && isMeant(locationIDs, *camera);
               });
    });
}

bool KTUVCManager::refreshDataWithUniqueIDString(std::string_view uniqueID) {
    const LocationCandidates locationIDs = locationCandidates(uniqueID);
    if (locationIDs[0] == 0 && locationIDs[1] == 0) return false;
    return refreshDataWithLocationID(locationIDs);
}

bool KTUVCManager::refreshDataWithLocationID(const LocationCandidates& locationIDs) {
    // Release the interface without closing it, so that a push on another thread can finish.
    binding_.change([](CameraBinding& binding) {
        binding.inputTerminalID = CameraBinding().inputTerminalID;
        binding.processingUnitID = CameraBinding().processingUnitID;
        binding.interface = nullptr;
        binding.failure = ErrorCode::none;
        binding.recordsAreRead = false;
        binding.device = nullptr;
        ++binding.identity;
        binding.isBeingRead = true;
    });
    const bool bound = bindRecordOf(locationIDs) && bindInterfaceOf(locationIDs);
    binding_.change([](CameraBinding& binding) { binding.isBeingRead = false; });
    return bound;
}

bool KTUVCManager::bindRecordOf(const LocationCandidates& locationIDs) {
    if (!prober_) return false;
    const auto& cameras = prober_->devicesArray();
    const auto found = std::find_if(cameras.begin(), cameras.end(), [&](const auto& camera) {
        return contains(locationIDs, camera->locationID) && isMeant(locationIDs, *camera);
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
    letGoOfInterface(); // in case another thread has set one meanwhile
    const auto found = openInterfaceAt(locationIDs);
    if (!found) return false;

    const std::shared_ptr<UsbInterface>& opened = *found;
    // Set the number together with it, so that no request is sent with the previous camera's number.
    const std::int32_t number = opened ? opened->GetInterfaceNumber() : interfaceNumber();
    binding_.change([&](CameraBinding& binding) {
        binding.interface = opened;
        binding.interfaceNumber = number;
    });
    generalInit();
    return true;
}

std::optional<std::shared_ptr<UsbInterface>> KTUVCManager::openInterfaceAt(
    const LocationCandidates& locationIDs) const {
    const std::lock_guard lock(busMutex_);
    const std::unique_ptr<UsbDevice> deviceInterface = deviceAt(locationIDs);
    if (!deviceInterface) return std::nullopt;
    return _getControlInferaceWithDeviceInterface(*deviceInterface);
}

std::unique_ptr<UsbDevice> KTUVCManager::deviceAt(const LocationCandidates& locationIDs) const {
    if (usb_ == nullptr) return nullptr;
    for (std::unique_ptr<UsbDevice>& device : usb_->listDevices()) {
        if (!device->CreatePlugInInterface()) continue;
        if (!device->QueryInterface()) return nullptr; // one that does not answer ends the search
        if (contains(locationIDs, device->GetLocationID())) return std::move(device);
    }
    return nullptr;
}

bool KTUVCManager::openInterfaceAgain() {
    const CameraBinding bound = binding_.get();
    if (!bound.interfaceIsClosed() || bound.recordsAreRead) return openInterfaceOf(bound.identity);
    const std::uint32_t place = bound.deviceLocationID;
    LocationCandidates location{{place, place, place}};
    if (bound.device) location.controlInterface = bound.device->controlInterface;
    return refreshDataWithLocationID(location) && !interfaceIsClosed();
}

bool KTUVCManager::openInterfaceOf(BindingIdentity identity) {
    const CameraBinding bound = binding_.get();
    if (bound.identity != identity) return false;
    if (!bound.interfaceIsClosed()) return bound.interface != nullptr;

    const std::uint32_t place = bound.deviceLocationID;
    const std::shared_ptr<UsbInterface> opened = openInterfaceAt({{place, place, place}}).value_or(nullptr);
    const auto failedAt = now_();
    bool isOpen = false;
    binding_.change([&](CameraBinding& current) {
        if (current.identity != identity) return;
        if (current.interface == bound.interface) { // and not reopened by another thread meanwhile
            if (opened) current.interface = opened;
            current.failure = opened ? ErrorCode::none : ErrorCode::gone;
            current.failedAt = failedAt;
        }
        isOpen = current.interface && !current.interfaceIsClosed();
    });
    return isOpen;
}

bool KTUVCManager::isControllable() const {
    return interface() != nullptr &&
           std::ranges::any_of(parametersArray(), [](const Record& r) { return r && r->supported(); });
}

std::shared_ptr<UsbInterface> KTUVCManager::_getControlInferaceWithDeviceInterface(
    UsbDevice& deviceInterface) const {
    const auto numbers = deviceInterface.CreateInterfaceIterator(videoControl);
    if (!numbers || numbers->empty()) return nullptr;
    const std::shared_ptr<const BusProberDevice> camera = device();
    const std::uint8_t number =
        camera && camera->controlInterface ? *camera->controlInterface : numbers->front();
    const bool listed = std::ranges::find(*numbers, number) != numbers->end();
    return listed ? deviceInterface.openInterface(number) : nullptr;
}

void KTUVCManager::generalInit() {
    if (const std::shared_ptr<UsbInterface> bound = interface())
        setInterfaceNumber(bound->GetInterfaceNumber());
    _populateAllParams();
    binding_.change([](CameraBinding& binding) { binding.recordsAreRead = !binding.interfaceIsClosed(); });
}

} // namespace tavelo
