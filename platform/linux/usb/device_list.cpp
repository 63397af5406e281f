// SPDX-License-Identifier: MIT
#include "platform/linux/usb/device_list.h"

#include <array>
#include <cstdio>
#include <optional>
#include <utility>

#include "platform/common/location_id.h"
#include "platform/linux/bus/sysfs_usb.h"
#include "platform/linux/device_holders.h"
#include "platform/linux/printable.h"
#include "platform/linux/usb/stream/streaming_descriptors.h"
#include "platform/uvc/descriptors.h"
#include "platform/uvc/usb_video_function.h"

namespace tavelo {
namespace {

// Without a product string, the same name as the kernel's driver gives.
std::string nameOf(const SysfsUsbDevice& device) {
    if (!device.product.empty()) return printable(device.product);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "UVC Camera (%04x:%04x)", unsigned{device.vendorID},
                  unsigned{device.productID});
    return text.data();
}

std::vector<UsbCamera> camerasOf(const SysfsUsbDevice& device, const UsbDescriptors& descriptors) {
    std::vector<UsbCamera> cameras;
    const std::vector<std::uint8_t> functions = videoControlInterfaces(descriptors.configuration);
    for (const std::uint8_t number : functions) {
        const UsbVideoFunction function = videoFunctionOf(descriptors.configuration, number);
        if (function.streamingInterfaces.empty()) continue;
        const bool first = number == functions.front();
        cameras.push_back({{{device.busNumber, device.deviceNumber}, number, function.streamingInterfaces},
                           captureIdentifier(device.locationID, device.vendorID, device.productID,
                                             first ? std::nullopt : std::optional(number)),
                           first ? nameOf(device) : nameOf(device) + " (" + std::to_string(number) + ")",
                           device.name,
                           descriptors.configuration});
    }
    return cameras;
}

class UsbCaptureDevice final : public CaptureDevice, public std::enable_shared_from_this<UsbCaptureDevice> {
public:
    UsbCaptureDevice(UsbCamera camera, UsbInputMaker makeInput)
        : camera_(std::move(camera)),
          makeInput_(std::move(makeInput)) {}

    const std::string& uniqueID() const override { return camera_.uniqueID; }
    const std::string& localizedName() const override { return camera_.localizedName; }
    bool hasMediaType(MediaType type) const override { return type == MediaType::video; }
    std::string node() const override { return camera_.address.device.path(); }
    std::string place() const override { return camera_.place; }
    std::vector<CaptureFormat> formats() const override { return camera_.formats(); }
    DeviceHolders holders() const override { return deviceHolders(node()); }
    std::unique_ptr<CaptureDeviceInput> makeInput(Error& error) override {
        error = {};
        return makeInput_(shared_from_this(), camera_, error);
    }

private:
    const UsbCamera camera_;
    const UsbInputMaker makeInput_;
};

} // namespace

bool UsbCamera::isSameAs(const UsbCamera& other) const {
    return address.device == other.address.device &&
           address.controlInterface == other.address.controlInterface && uniqueID == other.uniqueID;
}

std::vector<CaptureFormat> UsbCamera::formats() const {
    std::vector<OfferedMode> modes;
    for (const UvcFrameOffer& offer :
         streamingInterfaceOf(configurationDescriptor, address.streamingInterfaces.front()).offers)
        modes.push_back({offer.format, offer.size, offer.intervals});
    return captureFormats(modes);
}

UsbCameraScan scanUsbCameras(const std::filesystem::path& sysfs) {
    UsbCameraScan scan;
    for (const SysfsUsbDevice& device : usbDevices(sysfs)) {
        const auto descriptors = usbDescriptors(device);
        if (!descriptors) continue;
        if (descriptors->configuration.empty()) scan.unsettled = true;
        for (UsbCamera& camera : camerasOf(device, *descriptors))
            scan.cameras.push_back(std::move(camera));
    }
    return scan;
}

UsbDeviceList::UsbDeviceList(std::filesystem::path sysfs, MainQueue& mainQueue, UsbInputMaker makeInput)
    : CaptureDeviceList(
          mainQueue, [](const UsbCamera& known, const UsbCamera& found) { return known.isSameAs(found); },
          [makeInput = std::move(makeInput)](const UsbCamera& camera, CameraArrival /*arrival*/) {
              return std::make_shared<UsbCaptureDevice>(camera, makeInput);
          }),
      sysfs_(std::move(sysfs)) {}

void UsbDeviceList::fill() {
    CaptureDeviceList::fill([this] { return scanUsbCameras(sysfs_).cameras; });
}

bool UsbDeviceList::rescan() {
    bool unsettled = false;
    CaptureDeviceList::rescan([&] {
        UsbCameraScan scan = scanUsbCameras(sysfs_);
        unsettled = scan.unsettled;
        return std::move(scan.cameras);
    });
    return !unsettled;
}

} // namespace tavelo
