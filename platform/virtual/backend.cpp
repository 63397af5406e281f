// SPDX-License-Identifier: MIT
#include "platform/virtual/backend.h"

#include <utility>

#include "platform/uvc/matching_interfaces.h"
#include "platform/virtual/control_interface.h"
#include "platform/virtual/device_list.h"
#include "platform/virtual/virtual_bus_prober.h"
#include "platform/virtual/virtual_inspector.h"

namespace tavelo {
namespace {

class VirtualUsbDevice final : public UsbDevice {
public:
    explicit VirtualUsbDevice(std::shared_ptr<VirtualCameraFirmware> firmware)
        : firmware_(std::move(firmware)) {}

    bool CreatePlugInInterface() override { return firmware_->present(); }
    bool QueryInterface() override { return firmware_->present(); }
    std::uint32_t GetLocationID() const override { return firmware_->model().locationID; }

    std::optional<std::vector<std::uint8_t>> CreateInterfaceIterator(
        const UsbInterfaceMatch& match) override {
        if (!firmware_->present()) return std::nullopt;
        return matchingInterfaces(firmware_->configurationDescriptor(), match);
    }

    std::shared_ptr<UsbInterface> openInterface(std::uint8_t number) override {
        if (!firmware_->present()) return nullptr;
        return std::make_shared<VirtualControlInterface>(firmware_, number);
    }

    std::optional<UsbDeviceFacts> facts() override {
        if (!firmware_->present()) return std::nullopt;
        const auto device = firmware_->deviceDescriptor();
        const auto configuration = firmware_->configurationDescriptor();
        return UsbDeviceFacts{{{device.begin(), device.end()}, {configuration.begin(), configuration.end()}},
                              firmware_->model().product,
                              firmware_->model().speed};
    }

    std::unique_ptr<CameraInspector> openInspector(std::uint8_t number) override {
        if (!firmware_->present()) return nullptr;
        return std::make_unique<VirtualInspector>(firmware_, number);
    }

private:
    const std::shared_ptr<VirtualCameraFirmware> firmware_;
};

class VirtualUsbPlatform final : public UsbPlatform {
public:
    explicit VirtualUsbPlatform(std::shared_ptr<VirtualBus> bus) : bus_(std::move(bus)) {}

    std::unique_ptr<BusProber> initBusProber(int /*scope*/, BusProberDelegate* delegate) override {
        return std::make_unique<VirtualBusProber>(bus_, delegate);
    }

    std::vector<std::unique_ptr<UsbDevice>> listDevices() override {
        std::vector<std::unique_ptr<UsbDevice>> devices;
        for (auto& firmware : bus_->cameras())
            devices.push_back(std::make_unique<VirtualUsbDevice>(std::move(firmware)));
        return devices;
    }

private:
    const std::shared_ptr<VirtualBus> bus_;
};

} // namespace

VirtualBackend makeVirtualBackend(int cameras, const CaptureFormatRequest& format, MainQueue& mainQueue) {
    auto bus = std::make_shared<VirtualBus>();
    for (int number = 1; number <= cameras; ++number)
        bus->plug(virtualCameraModel(number));
    return makeVirtualBackend(std::move(bus), format, mainQueue);
}

VirtualBackend makeVirtualBackend(std::shared_ptr<VirtualBus> bus, const CaptureFormatRequest& format,
                                  MainQueue& mainQueue) {
    VirtualBackend backend;
    backend.bus = std::move(bus);
    backend.usb = std::make_unique<VirtualUsbPlatform>(backend.bus);
    backend.capture = std::make_unique<VirtualCapturePlatform>(backend.bus, mainQueue, format);
    return backend;
}

} // namespace tavelo
