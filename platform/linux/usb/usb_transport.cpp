// SPDX-License-Identifier: MIT
#include "platform/linux/usb/usb_transport.h"

#include <utility>

#include "platform/linux/usb/driver_watch.h"
#include "platform/linux/usb/libusb_bus.h"
#include "platform/linux/usb/stream/usb_stream_input.h"
#include "platform/linux/usb/usb_rights.h"
#include "platform/linux/usb/usb_transport_platforms.h"

namespace tavelo {
namespace {

UsbCameraClaims::WatchStarter watchStarter() {
    return [program = driverWatchProgram()](const UsbAddress& device,
                                            std::uint8_t controlInterface) -> std::shared_ptr<void> {
        return program.empty() ? nullptr : DriverWatch::start(program, device, controlInterface);
    };
}

UsbStreamAccess takeForStreaming(UsbCameraClaims& claims, const UsbCamera& camera, Error& error) {
    const std::shared_ptr<UsbCameraClaim> claim = claims.acquire(camera.address, error);
    if (!claim) return {};
    return {claim, claims.context(), claim->handle().native(), camera.address.streamingInterfaces.front(),
            camera.configurationDescriptor};
}

// The camera is taken when the stream starts, on the stream's thread.
UsbInputMaker inputMaker(const std::shared_ptr<UsbCameraClaims>& claims, Diagnostics& diagnostics,
                         const CaptureFormatRequest& request) {
    return [claims, &diagnostics, request](std::shared_ptr<CaptureDevice> device, const UsbCamera& camera,
                                           Error& /*error*/) {
        const auto acquire = [claims, camera](Error& error) {
            return takeForStreaming(*claims, camera, error);
        };
        return makeUsbStreamInput(std::move(device), {acquire, diagnostics, request});
    };
}

} // namespace

UsbTransportHalves makeUsbTransport(MainQueue& mainQueue, Diagnostics& diagnostics,
                                    const CaptureFormatRequest& request) {
    if (const auto denied = deniedCamera("/sys", usbNodeProbe()))
        return {nullptr, nullptr, missingRightsLine(*denied)};
    const std::shared_ptr<LibusbBus> bus = LibusbBus::open();
    if (!bus)
        return {nullptr, nullptr, "libusb finds no USB here, so the cameras stay with the kernel's driver"};
    const auto claims = std::make_shared<UsbCameraClaims>(bus, watchStarter(), diagnostics);
    const UsbTransport transport{claims, [bus] { return bus->hotplugEvents(); }};
    return {makeUsbTransportUsbPlatform(transport, diagnostics),
            makeUsbTransportCapturePlatform(transport, mainQueue, inputMaker(claims, diagnostics, request)),
            {}};
}

} // namespace tavelo
