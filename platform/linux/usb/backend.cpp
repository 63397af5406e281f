// SPDX-License-Identifier: MIT
#include "platform/linux/usb/backend.h"

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <utility>

#include "platform/common/listed_capture_platform.h"
#include "platform/linux/bus/sysfs_usb_platform.h"
#include "platform/linux/bus/udev_monitor.h"
#include "platform/linux/device_holders.h"
#include "platform/linux/usb/capture_input.h"
#include "platform/linux/usb/control_interface.h"
#include "platform/linux/usb/device/libusb_bus.h"
#include "platform/linux/usb/device_list.h"
#include "platform/linux/usb/driver_watch.h"
#include "platform/linux/usb/usb_inspector.h"
#include "platform/linux/usb/usb_permissions.h"
#include "platform/linux/wake_event.h"
#include "platform/uvc/usb_video_function.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

constexpr const char* keptByDriver = "; the cameras stay with the kernel's driver";

// The kernel announces a device some milliseconds before it has chosen its configuration.
constexpr auto betweenScans = 50ms;
constexpr int mostScans = 100;

constexpr auto betweenTries = 20ms;
constexpr int mostTries = 10;

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

/// A camera taken from its driver to send it requests.
struct TakenForRequests {
    std::shared_ptr<UsbHandle> camera; ///< null if it cannot be taken
    UsbVideoFunction function;
    std::string name; ///< in diagnostics
};

TakenForRequests takeForRequests(UsbCameraClaims& claims, const SysfsUsbDevice& device, std::uint8_t number,
                                 Diagnostics& diagnostics) {
    const auto descriptors = usbDescriptors(device);
    if (!descriptors) return {};
    TakenForRequests taken{nullptr, videoFunctionOf(descriptors->configuration, number),
                           "USB device " + device.name};
    const UsbCameraAddress address{
        {device.busNumber, device.deviceNumber}, number, taken.function.streamingInterfaces};
    Error error;
    taken.camera = claims.acquire(address, error);
    // A device just plugged in may need a moment to get ready.
    for (int tries = 1; tries < mostTries && error.code == ErrorCode::failed; ++tries) {
        std::this_thread::sleep_for(betweenTries);
        taken.camera = claims.acquire(address, error);
    }
    if (!taken.camera) diagnostics.report(taken.name, error.text);
    return taken;
}

std::shared_ptr<UsbInterface> takeForControl(UsbCameraClaims& claims, const SysfsUsbDevice& device,
                                             std::uint8_t number, Diagnostics& diagnostics) {
    TakenForRequests taken = takeForRequests(claims, device, number, diagnostics);
    if (!taken.camera) return nullptr;
    return std::make_shared<UsbControlInterface>(std::move(taken.camera), std::move(taken.function),
                                                 taken.name, diagnostics);
}

std::unique_ptr<CameraInspector> takeForInspection(UsbCameraClaims& claims, const SysfsUsbDevice& device,
                                                   std::uint8_t number, Diagnostics& diagnostics) {
    TakenForRequests taken = takeForRequests(claims, device, number, diagnostics);
    if (!taken.camera) return nullptr;
    return std::make_unique<UsbInspector>(std::move(taken.camera), number);
}

// The camera is taken on the stream's thread when the stream starts.
UsbInputMaker inputMaker(const std::shared_ptr<UsbCameraClaims>& claims, Diagnostics& diagnostics,
                         const CaptureFormatRequest& request,
                         const std::shared_ptr<ThreadPriority>& priority) {
    return [claims, &diagnostics, request, priority](const std::shared_ptr<CaptureDevice>& device,
                                                     const UsbCamera& camera, Error& /*error*/) {
        const auto open = [claims, address = camera.address](Error& error) {
            return claims->acquire(address, error);
        };
        const auto whoHolds = [node = camera.address.device.path()] { return busyText(deviceHolders(node)); };
        return std::make_unique<UsbCaptureInput>(
            device,
            UsbStreamSource{open, camera.address.streamingInterfaces.front(), camera.configurationDescriptor},
            CaptureInputOptions{
                .diagnostics = diagnostics, .whoHolds = whoHolds, .request = request, .priority = priority});
    };
}

class UsbCapturePlatform final : public ListedCapturePlatform<UsbDeviceList> {
public:
    UsbCapturePlatform(const BackendOptions& options, const UsbBackendOptions& machine)
        : ListedCapturePlatform(
              options.priority, machine.sysfs, options.mainQueue,
              inputMaker(machine.claims, options.diagnostics, options.format, options.priority)),
          monitor_(machine.hotplugEvents(), [this](const UdevEvent&) { rescan(); }) {
        list_.fill(); // after the monitor listens, so that no change is missed
    }
    ~UsbCapturePlatform() override { ending_.set(); }
    UsbCapturePlatform(const UsbCapturePlatform&) = delete;
    UsbCapturePlatform& operator=(const UsbCapturePlatform&) = delete;

private:
    void rescan() {
        for (int scans = 0; scans < mostScans; ++scans) {
            if (list_.rescan() || ending_.waitFor(betweenScans)) return;
        }
    }

    WakeEvent ending_;
    UdevMonitor monitor_; // last: its thread uses the list
};

} // namespace

Backend makeUsbBackend(const BackendOptions& options, const UsbBackendOptions& machine) {
    const auto openInterface = [claims = machine.claims, &diagnostics = options.diagnostics](
                                   const SysfsUsbDevice& device, std::uint8_t interfaceNumber) {
        return takeForControl(*claims, device, interfaceNumber, diagnostics);
    };
    const auto openInspector = [claims = machine.claims, &diagnostics = options.diagnostics](
                                   const SysfsUsbDevice& device, std::uint8_t interfaceNumber) {
        return takeForInspection(*claims, device, interfaceNumber, diagnostics);
    };
    return {makeSysfsUsbPlatform({machine.sysfs, machine.hotplugEvents, openInterface, openInspector}),
            std::make_unique<UsbCapturePlatform>(options, machine)};
}

Backend makeUsbBackend(const BackendOptions& options) {
    const auto warn = options.warn ? options.warn : [](const std::string&) {};
    if (const auto denied = deniedCamera("/sys", usbNodeProbe())) {
        warn(missingPermissionLine(*denied) + keptByDriver);
        return {};
    }
    const std::shared_ptr<LibusbBus> bus = LibusbBus::open();
    if (!bus) {
        warn(std::string("libusb finds no USB here") + keptByDriver);
        return {};
    }
    const auto opener = std::make_shared<PermissionCheckingOpener>(bus, warn);
    return makeUsbBackend(options,
                          {std::make_shared<UsbCameraClaims>(opener, watchStarter(), options.diagnostics),
                           [bus] { return bus->hotplugEvents(); }});
}

} // namespace tavelo
