// SPDX-License-Identifier: MIT
#include "platform/virtual/virtual_usb_platform.h"

#include <utility>

#include "platform/uvc/descriptors.h"
#include "platform/virtual/control_interface.h"
#include "platform/virtual/virtual_bus_prober.h"

namespace tavelo {
namespace {

using Firmware = std::shared_ptr<VirtualCameraFirmware>;

class InterfaceService final : public UsbInterfaceService {
public:
    InterfaceService(Firmware firmware, std::uint8_t number)
        : firmware_(std::move(firmware)),
          number_(number) {}

    std::uint8_t GetInterfaceNumber() const override { return number_; }
    std::shared_ptr<UsbInterface> openInterface() override {
        if (!firmware_->present()) return nullptr;
        return std::make_shared<VirtualUsbInterface>(firmware_, number_);
    }

private:
    Firmware firmware_;
    std::uint8_t number_;
};

bool matches(const UsbInterfaceMatch& wanted, const UsbInterfaceDescriptor& found) {
    const auto fits = [](std::uint16_t value, std::uint8_t field) {
        return value == UsbInterfaceMatch::any || value == field;
    };
    return fits(wanted.interfaceClass, found.interfaceClass) &&
           fits(wanted.interfaceSubClass, found.interfaceSubClass) &&
           fits(wanted.interfaceProtocol, found.interfaceProtocol) &&
           fits(wanted.alternateSetting, found.alternateSetting);
}

class Device final : public UsbDevice {
public:
    explicit Device(Firmware firmware) : firmware_(std::move(firmware)) {}

    std::uint32_t GetLocationID() const override { return firmware_->model().locationID; }

    std::optional<std::vector<std::unique_ptr<UsbInterfaceService>>> CreateInterfaceIterator(
        const UsbInterfaceMatch& match) override {
        if (!firmware_->present()) return std::nullopt;
        std::vector<std::unique_ptr<UsbInterfaceService>> services;
        for (const UsbInterfaceDescriptor& found : interfacesOf(firmware_->configurationDescriptor()))
            if (matches(match, found))
                services.push_back(std::make_unique<InterfaceService>(firmware_, found.number));
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
