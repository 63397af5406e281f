// SPDX-License-Identifier: MIT
#include "platform/linux/usb/device_list.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "platform/common/capture_device_book.h"
#include "platform/common/location_id.h"
#include "platform/linux/bus/sysfs_usb.h"
#include "platform/uvc/descriptors.h"
#include "platform/uvc/usb_video_function.h"

namespace tavelo {
namespace {

// The camera chooses the text; it must not control a terminal.
std::string printable(std::string text) {
    std::ranges::replace_if(
        text, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }, ' ');
    return text;
}

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
    std::unique_ptr<CaptureDeviceInput> makeInput(Error& error) override {
        error = {};
        return makeInput_(shared_from_this(), camera_, error);
    }

    const UsbCamera& camera() const { return camera_; }

private:
    const UsbCamera camera_;
    const UsbInputMaker makeInput_;
};

} // namespace

bool UsbCamera::isSameAs(const UsbCamera& other) const {
    return address.device == other.address.device &&
           address.controlInterface == other.address.controlInterface && uniqueID == other.uniqueID;
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

class UsbCameraList::Book : public CaptureDeviceBook<UsbCaptureDevice> {
public:
    explicit Book(UsbInputMaker makeInput) : makeInput_(std::move(makeInput)) {}

    void update(const std::vector<UsbCamera>& found) {
        apply<UsbCamera>(
            found, [](const auto& device, const auto& camera) { return device.camera().isSameAs(camera); },
            [this](const auto& camera) { return std::make_shared<UsbCaptureDevice>(camera, makeInput_); });
    }

private:
    const UsbInputMaker makeInput_;
};

UsbCameraList::UsbCameraList(std::filesystem::path sysfs, MainQueue& mainQueue, UsbInputMaker makeInput)
    : sysfs_(std::move(sysfs)),
      mainQueue_(mainQueue),
      book_(std::make_shared<Book>(std::move(makeInput))) {}

UsbCameraList::~UsbCameraList() = default;

void UsbCameraList::fill() {
    book_->update(scanUsbCameras(sysfs_).cameras);
}

bool UsbCameraList::rescan() {
    const std::lock_guard lock(mutex_);
    UsbCameraScan scan = scanUsbCameras(sysfs_);
    mainQueue_.post([book = std::weak_ptr(book_), found = std::move(scan.cameras)] {
        if (const auto alive = book.lock()) alive->update(found);
    });
    return !scan.unsettled;
}

std::vector<std::shared_ptr<CaptureDevice>> UsbCameraList::devices() const {
    return book_->devices();
}

void UsbCameraList::addObserver(CaptureDeviceObserver* observer) {
    book_->add(observer);
}

void UsbCameraList::removeObserver(CaptureDeviceObserver* observer) {
    book_->remove(observer);
}

} // namespace tavelo
