// SPDX-License-Identifier: MIT
#include "platform/linux/kernel_usb_platform.h"

#include <algorithm>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/common/uvc_descriptors.h"
#include "platform/linux/kernel_node_search.h"
#include "platform/linux/kernel_usb_interface.h"
#include "platform/linux/linux_bus_prober.h"
#include "platform/linux/sysfs_usb.h"
#include "platform/linux/usb_descriptor_source.h"

namespace tavelo {

namespace {

using Surroundings = std::shared_ptr<const KernelUsbSurroundings>;

class InterfaceService final : public UsbInterfaceService {
public:
    InterfaceService(Surroundings surroundings, SysfsUsbDevice device, std::uint8_t number,
                     Diagnostics& diagnostics)
        : surroundings_(std::move(surroundings)),
          device_(std::move(device)),
          number_(number),
          diagnostics_(diagnostics) {}

    std::shared_ptr<UsbInterface> openInterface() override {
        OpenedControlNode node = openControlNode(*surroundings_, device_, number_, diagnostics_);
        const auto descriptors = usbDescriptors(device_);
        if (!node.device || !descriptors) return nullptr;
        const BusProberDevice entities =
            probeDescriptors(descriptors->device, descriptors->configuration, number_);
        return std::make_shared<KernelUsbInterface>(
            std::move(node.device),
            KernelInterfaceAddress{number_, entities.terminalID, entities.unitID, std::move(node.path)},
            diagnostics_);
    }

private:
    Surroundings surroundings_;
    SysfsUsbDevice device_;
    std::uint8_t number_;
    Diagnostics& diagnostics_;
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
    Device(Surroundings surroundings, SysfsUsbDevice device, Diagnostics& diagnostics)
        : surroundings_(std::move(surroundings)),
          device_(std::move(device)),
          diagnostics_(diagnostics) {}

    std::uint32_t GetLocationID() const override { return device_.locationID; }

    std::optional<std::vector<std::unique_ptr<UsbInterfaceService>>> CreateInterfaceIterator(
        const UsbInterfaceMatch& match) override {
        const auto descriptors = usbDescriptors(device_);
        if (!descriptors) return std::nullopt;
        std::vector<std::unique_ptr<UsbInterfaceService>> services;
        std::vector<std::uint8_t> numbers; // an interface with several settings is still one interface
        for (const UsbInterfaceDescriptor& interface : interfacesOf(descriptors->configuration)) {
            if (!matches(interface, match) || std::ranges::find(numbers, interface.number) != numbers.end())
                continue;
            numbers.push_back(interface.number);
            services.push_back(
                std::make_unique<InterfaceService>(surroundings_, device_, interface.number, diagnostics_));
        }
        return services;
    }

private:
    Surroundings surroundings_;
    SysfsUsbDevice device_;
    Diagnostics& diagnostics_;
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
    DeviceService(Surroundings surroundings, SysfsUsbDevice device, Diagnostics& diagnostics)
        : surroundings_(std::move(surroundings)),
          device_(std::move(device)),
          diagnostics_(diagnostics) {}

    // A device that went away since it was listed ends here, where the caller goes on with the next one.
    std::unique_ptr<UsbDevicePlugIn> CreatePlugInInterface() override {
        std::error_code error;
        if (!std::filesystem::exists(device_.path, error)) return nullptr;
        return std::make_unique<PlugIn>(std::make_unique<Device>(surroundings_, device_, diagnostics_));
    }

private:
    Surroundings surroundings_;
    SysfsUsbDevice device_;
    Diagnostics& diagnostics_;
};

KernelUsbSurroundings thisMachine() {
    KernelUsbSurroundings surroundings;
    surroundings.opener = makeControlDeviceOpener();
    surroundings.pause = [](std::chrono::milliseconds time) { std::this_thread::sleep_for(time); };
    return surroundings;
}

} // namespace

KernelUsbPlatform::KernelUsbPlatform(Diagnostics& diagnostics)
    : KernelUsbPlatform(diagnostics, thisMachine()) {}

KernelUsbPlatform::KernelUsbPlatform(Diagnostics& diagnostics, KernelUsbSurroundings surroundings)
    : diagnostics_(diagnostics),
      surroundings_(std::make_shared<const KernelUsbSurroundings>(std::move(surroundings))) {}

std::unique_ptr<BusProber> KernelUsbPlatform::initBusProber(int, BusProberDelegate* delegate) {
    return std::make_unique<LinuxBusProber>(delegate, surroundings_->sysfs, makeLibusbDescriptorSource(),
                                            openUdevEvents("usb", "usb_device"));
}

std::vector<std::unique_ptr<UsbDeviceService>> KernelUsbPlatform::matchingDeviceServices() {
    std::vector<std::unique_ptr<UsbDeviceService>> services;
    for (SysfsUsbDevice& device : usbDevices(surroundings_->sysfs))
        services.push_back(std::make_unique<DeviceService>(surroundings_, std::move(device), diagnostics_));
    return services;
}

} // namespace tavelo
