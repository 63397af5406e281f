// SPDX-License-Identifier: MIT
// A device whose interfaces a test puts something in front of.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/usb_interface.h"

namespace tavelo::testing {

/// What an open interface or inspector becomes; without a function it stays as it is.
struct UsbWrapping {
    std::function<std::shared_ptr<UsbInterface>(std::shared_ptr<UsbInterface>)> interface = {};
    std::function<std::unique_ptr<CameraInspector>(std::unique_ptr<CameraInspector>)> inspector = {};
};

class WrappedUsbDevice final : public UsbDevice {
public:
    WrappedUsbDevice(std::unique_ptr<UsbDevice> device, UsbWrapping wrapping)
        : device_(std::move(device)),
          wrapping_(std::move(wrapping)) {}

    bool CreatePlugInInterface() override { return device_->CreatePlugInInterface(); }
    bool QueryInterface() override { return device_->QueryInterface(); }
    std::uint32_t GetLocationID() const override { return device_->GetLocationID(); }
    std::optional<std::vector<std::uint8_t>> CreateInterfaceIterator(
        const UsbInterfaceMatch& match) override {
        return device_->CreateInterfaceIterator(match);
    }
    std::shared_ptr<UsbInterface> openInterface(std::uint8_t number) override {
        auto opened = device_->openInterface(number);
        return opened && wrapping_.interface ? wrapping_.interface(std::move(opened)) : opened;
    }
    std::optional<UsbDeviceFacts> facts() override { return device_->facts(); }
    std::unique_ptr<CameraInspector> openInspector(std::uint8_t number) override {
        auto opened = device_->openInspector(number);
        return opened && wrapping_.inspector ? wrapping_.inspector(std::move(opened)) : std::move(opened);
    }

private:
    const std::unique_ptr<UsbDevice> device_;
    const UsbWrapping wrapping_;
};

inline std::vector<std::unique_ptr<UsbDevice>> wrapped(std::vector<std::unique_ptr<UsbDevice>> devices,
                                                       const UsbWrapping& wrapping) {
    for (auto& device : devices)
        device = std::make_unique<WrappedUsbDevice>(std::move(device), wrapping);
    return devices;
}

} // namespace tavelo::testing
