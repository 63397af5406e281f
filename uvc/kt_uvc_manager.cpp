// SPDX-License-Identifier: MIT
#include "uvc/kt_uvc_manager.h"

#include "text/localizer.h"

namespace tavelo {
namespace {

KTUVCEnvironment& sharedEnvironment() {
    static KTUVCEnvironment environment;
    return environment;
}

} // namespace

void KTUVCManager::setEnvironment(const KTUVCEnvironment& environment) {
    sharedEnvironment() = environment;
}

KTUVCManager& KTUVCManager::sharedManager() {
    static KTUVCManager manager(sharedEnvironment()); // the first call is thread-safe by the language's rules
    return manager;
}

KTUVCManager::KTUVCManager(const KTUVCEnvironment& environment)
    : now_(environment.now),
      usb_(environment.usb) {
    initParameters(environment.text);
}

KTUVCManager::~KTUVCManager() = default;

void KTUVCManager::releasePlatform() {
    binding_.change([](CameraBinding& binding) {
        const BindingIdentity last = binding.identity;
        binding = CameraBinding();
        binding.identity = last + 1;
    });
    prober_.reset();
    const std::lock_guard lock(busMutex_);
    usb_ = nullptr;
}

void KTUVCManager::setProber(std::unique_ptr<BusProber> prober) {
    prober_ = std::move(prober);
}

void KTUVCManager::setDevice(std::shared_ptr<const BusProberDevice> device) {
    binding_.change([&](CameraBinding& binding) { binding.device = std::move(device); });
}

void KTUVCManager::setInterface(std::shared_ptr<UsbInterface> interface) {
    binding_.change([&](CameraBinding& binding) {
        binding.interface = std::move(interface);
        binding.failure = ErrorCode::none;
    });
}

void KTUVCManager::setDeviceLocationID(std::uint32_t locationID) {
    binding_.change([&](CameraBinding& binding) { binding.deviceLocationID = locationID; });
}

void KTUVCManager::setInterfaceNumber(std::int32_t number) {
    binding_.change([&](CameraBinding& binding) { binding.interfaceNumber = number; });
}

void KTUVCManager::setInputTerminalID(std::int32_t entity) {
    binding_.change([&](CameraBinding& binding) { binding.inputTerminalID = entity; });
}

void KTUVCManager::setProcessingUnitID(std::int32_t entity) {
    binding_.change([&](CameraBinding& binding) { binding.processingUnitID = entity; });
}

} // namespace tavelo
