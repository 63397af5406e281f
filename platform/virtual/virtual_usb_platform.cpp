// SPDX-License-Identifier: MIT
#include "platform/virtual/virtual_usb_platform.h"

#include <span>
#include <utility>

#include "platform/virtual/virtual_bus_prober.h"
#include "platform/virtual/virtual_usb_interface.h"

namespace tavelo {
namespace {

using Firmware = std::shared_ptr<VirtualCameraFirmware>;

class InterfaceService final : public UsbInterfaceService {
public:
    InterfaceService(Firmware firmware, std::uint8_t number)
        : firmware_(std::move(firmware)),
          number_(number) {}

    std::shared_ptr<UsbInterface> openInterface() override {
        if (!firmware_->present()) return nullptr;
        return std::make_shared<VirtualUsbInterface>(firmware_, number_);
    }

private:
    Firmware firmware_;
    std::uint8_t number_;
};

bool matches(std::uint16_t wanted, std::uint8_t found) {
    return wanted == UsbInterfaceMatch::any || wanted == found;
}

// The interface descriptors among the configuration's; stops where a length makes no sense.
template <typename Visit>
void forEachInterface(std::span<const std::uint8_t> configuration, Visit&& visit) {
    constexpr std::uint8_t interfaceDescriptor = 4;
    constexpr std::size_t interfaceLength = 9;
    while (configuration.size() >= 2) {
        const std::size_t length = configuration[0];
        if (length < 2 || length > configuration.size()) return;
        if (configuration[1] == interfaceDescriptor && length >= interfaceLength)
            visit(configuration.first(length));
        configuration = configuration.subspan(length);
    }
}

class Device final : public UsbDevice {
public:
    explicit Device(Firmware firmware) : firmware_(std::move(firmware)) {}

    std::uint32_t GetLocationID() const override { return firmware_->model().locationID; }

    std::optional<std::vector<std::unique_ptr<UsbInterfaceService>>> CreateInterfaceIterator(
        const UsbInterfaceMatch& match) override {
        if (!firmware_->present()) return std::nullopt;
        std::vector<std::unique_ptr<UsbInterfaceService>> services;
        forEachInterface(firmware_->configurationDescriptor(), [&](std::span<const std::uint8_t> found) {
            if (matches(match.alternateSetting, found[3]) && matches(match.interfaceClass, found[5]) &&
                matches(match.interfaceSubClass, found[6]) && matches(match.interfaceProtocol, found[7]))
                services.push_back(std::make_unique<InterfaceService>(firmware_, found[2]));
        });
        return services;
    }

private:
    Firmware firmware_;
};

class PlugIn final : public UsbDevicePlugIn {
public:
    explicit PlugIn(Firmware firmware) : firmware_(std::move(firmware)) {}

    std::unique_ptr<UsbDevice> QueryInterface() override {
        if (!firmware_->present()) return nullptr;
        return std::make_unique<Device>(firmware_);
    }

private:
    Firmware firmware_;
};

class DeviceService final : public UsbDeviceService {
public:
    explicit DeviceService(Firmware firmware) : firmware_(std::move(firmware)) {}

    std::unique_ptr<UsbDevicePlugIn> CreatePlugInInterface() override {
        if (!firmware_->present()) return nullptr;
        return std::make_unique<PlugIn>(firmware_);
    }

private:
    Firmware firmware_;
};

} // namespace

VirtualUsbPlatform::VirtualUsbPlatform(std::shared_ptr<VirtualBus> bus) : bus_(std::move(bus)) {}

std::unique_ptr<BusProber> VirtualUsbPlatform::initBusProber(int /*scope*/, BusProberDelegate* delegate) {
    return std::make_unique<VirtualBusProber>(bus_, delegate);
}

std::vector<std::unique_ptr<UsbDeviceService>> VirtualUsbPlatform::matchingDeviceServices() {
    std::vector<std::unique_ptr<UsbDeviceService>> services;
    for (auto& firmware : bus_->cameras())
        services.push_back(std::make_unique<DeviceService>(std::move(firmware)));
    return services;
}

} // namespace tavelo
