// SPDX-License-Identifier: MIT
#include "platform/linux/bus/sysfs_usb_platform.h"

#include <system_error>
#include <utility>

#include "platform/linux/bus/sysfs_bus_prober.h"
#include "platform/linux/printable.h"
#include "platform/uvc/matching_interfaces.h"

namespace tavelo {
namespace {

class SysfsDevice final : public UsbDevice {
public:
    SysfsDevice(std::shared_ptr<const SysfsUsbOptions> options, SysfsUsbDevice device)
        : options_(std::move(options)),
          device_(std::move(device)) {}

    bool CreatePlugInInterface() override {
        std::error_code error;
        return std::filesystem::exists(device_.path, error);
    }
    bool QueryInterface() override { return true; }
    std::uint32_t GetLocationID() const override { return device_.locationID; }

    std::optional<std::vector<std::uint8_t>> CreateInterfaceIterator(
        const UsbInterfaceMatch& match) override {
        const auto descriptors = usbDescriptors(device_);
        if (!descriptors) return std::nullopt;
        return matchingInterfaces(descriptors->configuration, match);
    }

    std::shared_ptr<UsbInterface> openInterface(std::uint8_t number) override {
        return options_->openInterface(device_, number);
    }

    std::optional<UsbDeviceFacts> facts() override {
        auto descriptors = usbDescriptors(device_);
        if (!descriptors) return std::nullopt;
        return UsbDeviceFacts{std::move(*descriptors), printable(device_.product), usbSpeed(device_)};
    }

    std::unique_ptr<CameraInspector> openInspector(std::uint8_t number) override {
        return options_->openInspector ? options_->openInspector(device_, number) : nullptr;
    }

private:
    const std::shared_ptr<const SysfsUsbOptions> options_;
    const SysfsUsbDevice device_;
};

class SysfsUsbPlatform final : public UsbPlatform {
public:
    explicit SysfsUsbPlatform(SysfsUsbOptions options)
        : options_(std::make_shared<const SysfsUsbOptions>(std::move(options))) {}

    std::unique_ptr<BusProber> initBusProber(int /*scope*/, BusProberDelegate* delegate) override {
        return std::make_unique<SysfsBusProber>(delegate, options_->sysfs, options_->hotplugEvents());
    }

    std::vector<std::unique_ptr<UsbDevice>> listDevices() override {
        std::vector<std::unique_ptr<UsbDevice>> devices;
        for (SysfsUsbDevice& device : usbDevices(options_->sysfs))
            devices.push_back(std::make_unique<SysfsDevice>(options_, std::move(device)));
        return devices;
    }

private:
    const std::shared_ptr<const SysfsUsbOptions> options_;
};

} // namespace

std::unique_ptr<UsbPlatform> makeSysfsUsbPlatform(SysfsUsbOptions options) {
    return std::make_unique<SysfsUsbPlatform>(std::move(options));
}

} // namespace tavelo
