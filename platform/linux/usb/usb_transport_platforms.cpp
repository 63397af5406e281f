// SPDX-License-Identifier: MIT
#include "platform/linux/usb/usb_transport_platforms.h"

#include <chrono>
#include <thread>
#include <utility>

#include "platform/common/standard_capture_session.h"
#include "platform/linux/bus/bus_prober.h"
#include "platform/linux/bus/sysfs_device_services.h"
#include "platform/linux/bus/udev_monitor.h"
#include "platform/linux/usb/control_interface.h"
#include "platform/linux/usb/usb_video_function.h"
#include "platform/linux/wake_event.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

// The kernel announces a device some milliseconds before it has chosen its configuration.
constexpr auto betweenScans = 50ms;
constexpr int mostScans = 100;

constexpr auto betweenTries = 20ms;
constexpr int mostTries = 10;

std::shared_ptr<UsbInterface> openInterface(UsbCameraClaims& claims, const SysfsUsbDevice& device,
                                            std::uint8_t number, Diagnostics& diagnostics) {
    const auto descriptors = usbDescriptors(device);
    if (!descriptors) return nullptr;
    UsbVideoFunction function = videoFunctionOf(descriptors->configuration, number);
    const UsbCameraAddress address{
        {device.busNumber, device.deviceNumber}, number, function.streamingInterfaces};
    const std::string name = "USB device " + device.name;
    Error error;
    auto claim = claims.acquire(address, error);
    // A device just plugged in may need a moment to get ready.
    for (int tries = 1; tries < mostTries && error.code == ErrorCode::failed; ++tries) {
        std::this_thread::sleep_for(betweenTries);
        claim = claims.acquire(address, error);
    }
    if (!claim) {
        diagnostics.report(name, error.text);
        return nullptr;
    }
    return std::make_shared<UsbControlInterface>(std::move(claim), std::move(function), name, diagnostics);
}

class TransportUsbPlatform final : public UsbPlatform {
public:
    TransportUsbPlatform(UsbTransport transport, Diagnostics& diagnostics)
        : transport_(std::move(transport)),
          diagnostics_(diagnostics) {}

    std::unique_ptr<BusProber> initBusProber(int /*scope*/, BusProberDelegate* delegate) override {
        return std::make_unique<LinuxBusProber>(delegate, transport_.sysfs, nullptr,
                                                transport_.hotplugEvents());
    }

    std::vector<std::unique_ptr<UsbDeviceService>> matchingDeviceServices() override {
        return sysfsDeviceServices(transport_.sysfs,
                                   [claims = transport_.claims, &diagnostics = diagnostics_](
                                       const SysfsUsbDevice& device, std::uint8_t interfaceNumber) {
                                       return openInterface(*claims, device, interfaceNumber, diagnostics);
                                   });
    }

private:
    const UsbTransport transport_;
    Diagnostics& diagnostics_;
};

class TransportCapturePlatform final : public CapturePlatform {
public:
    TransportCapturePlatform(const UsbTransport& transport, MainQueue& mainQueue, UsbInputMaker makeInput)
        : priority_(transport.priority),
          list_(transport.sysfs, mainQueue, std::move(makeInput)),
          monitor_(transport.hotplugEvents(), [this](const UdevEvent&) { rescan(); }) {
        list_.fill(); // after the monitor listens, so that no change is missed
    }
    ~TransportCapturePlatform() override { ending_.set(); }
    TransportCapturePlatform(const TransportCapturePlatform&) = delete;
    TransportCapturePlatform& operator=(const TransportCapturePlatform&) = delete;

    std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(MediaType type) override {
        return type == MediaType::video ? list_.devices() : std::vector<std::shared_ptr<CaptureDevice>>();
    }
    std::unique_ptr<CaptureSession> makeSession() override { return makeStandardCaptureSession(); }
    std::shared_ptr<ThreadPriority> threadPriority() override { return priority_; }
    void addObserver(CaptureDeviceObserver* observer) override { list_.addObserver(observer); }
    void removeObserver(CaptureDeviceObserver* observer) override { list_.removeObserver(observer); }

private:
    void rescan() {
        for (int scans = 0; scans < mostScans; ++scans) {
            if (list_.rescan() || ending_.waitFor(betweenScans)) return;
        }
    }

    const std::shared_ptr<ThreadPriority> priority_;
    UsbDeviceList list_;
    WakeEvent ending_;
    UdevMonitor monitor_; // last: its thread uses the list
};

} // namespace

std::unique_ptr<UsbPlatform> makeUsbTransportUsbPlatform(const UsbTransport& transport,
                                                         Diagnostics& diagnostics) {
    return std::make_unique<TransportUsbPlatform>(transport, diagnostics);
}

std::unique_ptr<CapturePlatform> makeUsbTransportCapturePlatform(const UsbTransport& transport,
                                                                 MainQueue& mainQueue,
                                                                 UsbInputMaker makeInput) {
    return std::make_unique<TransportCapturePlatform>(transport, mainQueue, std::move(makeInput));
}

} // namespace tavelo
