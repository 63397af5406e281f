// SPDX-License-Identifier: MIT
#include "platform/linux/bus/sysfs_device_services.h"

#include <algorithm>
#include <optional>
#include <system_error>
#include <utility>

#include "platform/uvc/descriptors.h"

namespace tavelo {

namespace {

class InterfaceService final : public UsbInterfaceService {
public:
    InterfaceService(SysfsInterfaceOpener opener, SysfsUsbDevice device, std::uint8_t number)
        : opener_(std::move(opener)),
          device_(std::move(device)),
          number_(number) {}

    std::uint8_t GetInterfaceNumber() const override { return number_; }
    std::shared_ptr<UsbInterface> openInterface() override { return opener_(device_, number_); }

private:
    SysfsInterfaceOpener opener_;
    SysfsUsbDevice device_;
    std::uint8_t number_;
};

bool matches(std::uint8_t value, std::uint16_t wanted) {
    return wanted == UsbInterfaceMatch::any || value == wanted;
}

bool matches(const UsbInterfaceDescriptor& interface, const UsbInterfaceMatch& match) {
    return matches(interface.interfaceClass, match.interfaceClass) &&
           matches(interface.interfaceSubClass, match.interfaceSubClass) &&
           matches(interface.interfaceProtocol, match.interfaceProtocol) &&
           matches(interface.alternateSetting, match.alternateSetting);
}

class Device final : public UsbDevice {
public:
    Device(SysfsInterfaceOpener opener, SysfsUsbDevice device)
        : opener_(std::move(opener)),
          device_(std::move(device)) {}

    std::uint32_t GetLocationID() const override { return device_.locationID; }

    std::optional<std::vector<std::unique_ptr<UsbInterfaceService>>> CreateInterfaceIterator(
        const UsbInterfaceMatch& match) override {
        const auto descriptors = usbDescriptors(device_);
        if (!descriptors) return std::nullopt;
        std::vector<std::unique_ptr<UsbInterfaceService>> services;
        std::vector<std::uint8_t> numbers; // an interface with several settings counts once
        for (const UsbInterfaceDescriptor& interface : interfacesOf(descriptors->configuration)) {
            if (!matches(interface, match) || std::ranges::find(numbers, interface.number) != numbers.end())
                continue;
            numbers.push_back(interface.number);
            services.push_back(std::make_unique<InterfaceService>(opener_, device_, interface.number));
        }
        return services;
    }

private:
    SysfsInterfaceOpener opener_;
    SysfsUsbDevice device_;
};

class PlugIn final : public UsbDevicePlugIn {
public:
    explicit PlugIn(std::unique_ptr<UsbDevice> device) : device_(std::move(device)) {}

    std::unique_ptr<UsbDevice> QueryInterface() override { return std::move(device_); }

private:
    std::unique_ptr<UsbDevice> device_;
};

class DeviceService final : public UsbDeviceService {
public:
    DeviceService(SysfsInterfaceOpener opener, SysfsUsbDevice device)
        : opener_(std::move(opener)),
          device_(std::move(device)) {}

    // Fails for a device that went away since it was listed; the caller goes on with the next one.
    std::unique_ptr<UsbDevicePlugIn> CreatePlugInInterface() override {
        std::error_code error;
        if (!std::filesystem::exists(device_.path, error)) return nullptr;
        return std::make_unique<PlugIn>(std::make_unique<Device>(opener_, device_));
    }

private:
    SysfsInterfaceOpener opener_;
    SysfsUsbDevice device_;
};

} // namespace

std::vector<std::unique_ptr<UsbDeviceService>> sysfsDeviceServices(const std::filesystem::path& sysfs,
                                                                   const SysfsInterfaceOpener& opener) {
    std::vector<std::unique_ptr<UsbDeviceService>> services;
    for (SysfsUsbDevice& device : usbDevices(sysfs))
        services.push_back(std::make_unique<DeviceService>(opener, std::move(device)));
    return services;
}

} // namespace tavelo
