// SPDX-License-Identifier: MIT
#include "platform/linux/usb/usb_transport.h"

#include <atomic>
#include <string>
#include <utility>

#include "platform/linux/device_holders.h"
#include "platform/linux/usb/capture_input.h"
#include "platform/linux/usb/device/libusb_bus.h"
#include "platform/linux/usb/driver_watch.h"
#include "platform/linux/usb/usb_permissions.h"
#include "platform/linux/usb/usb_transport_platforms.h"

namespace tavelo {
namespace {

constexpr const char* keptByDriver = "; the cameras stay with the kernel's driver";

// Warns if a camera that is plugged in later cannot be opened: its model may need another udev rule.
class PermissionCheckingOpener final : public UsbHandleOpener {
public:
    PermissionCheckingOpener(std::shared_ptr<UsbHandleOpener> opener,
                             std::function<void(const std::string& line)> warn)
        : opener_(std::move(opener)),
          warn_(std::move(warn)) {}

    std::unique_ptr<UsbHandle> open(const UsbAddress& address, Error& error) override {
        auto handle = opener_->open(address, error);
        if (!handle && error.code == ErrorCode::denied && !warned_.exchange(true))
            warn_(missingPermissionLine(address.path()));
        return handle;
    }

private:
    const std::shared_ptr<UsbHandleOpener> opener_;
    const std::function<void(const std::string& line)> warn_;
    std::atomic<bool> warned_ = false;
};

UsbCameraClaims::WatchStarter watchStarter() {
    return [program = driverWatchProgram()](const UsbAddress& device,
                                            std::uint8_t controlInterface) -> std::shared_ptr<void> {
        return program.empty() ? nullptr : DriverWatch::start(program, device, controlInterface);
    };
}

// The camera is taken on the stream's thread when the stream starts.
UsbInputMaker inputMaker(const std::shared_ptr<UsbCameraClaims>& claims, Diagnostics& diagnostics,
                         const CaptureFormatRequest& request,
                         const std::shared_ptr<ThreadPriority>& priority) {
    return [claims, &diagnostics, request, priority](std::shared_ptr<CaptureDevice> device,
                                                     const UsbCamera& camera, Error& /*error*/) {
        const auto open = [claims, address = camera.address](Error& error) {
            return claims->acquire(address, error);
        };
        const auto whoHolds = [node = camera.address.device.path()] { return busyText(deviceHolders(node)); };
        return std::make_unique<UsbCaptureInput>(
            std::move(device),
            UsbStreamSource{open, camera.address.streamingInterfaces.front(), camera.configurationDescriptor},
            CaptureInputOptions{
                .diagnostics = diagnostics, .whoHolds = whoHolds, .request = request, .priority = priority});
    };
}

} // namespace

UsbTransportHalves makeUsbTransport(MainQueue& mainQueue, Diagnostics& diagnostics,
                                    const CaptureFormatRequest& request,
                                    const std::function<void(const std::string& line)>& warn,
                                    const std::shared_ptr<ThreadPriority>& priority) {
    const auto tell = warn ? warn : [](const std::string&) {};
    if (const auto denied = deniedCamera("/sys", usbNodeProbe())) {
        tell(missingPermissionLine(*denied) + keptByDriver);
        return {};
    }
    const std::shared_ptr<LibusbBus> bus = LibusbBus::open();
    if (!bus) {
        tell(std::string("libusb finds no USB here") + keptByDriver);
        return {};
    }
    const auto claims = std::make_shared<UsbCameraClaims>(
        std::make_shared<PermissionCheckingOpener>(bus, tell), watchStarter(), diagnostics);
    const UsbTransport transport{claims, [bus] { return bus->hotplugEvents(); }, "/sys", priority};
    return {makeUsbTransportUsbPlatform(transport, diagnostics),
            makeUsbTransportCapturePlatform(transport, mainQueue,
                                            inputMaker(claims, diagnostics, request, priority))};
}

} // namespace tavelo
