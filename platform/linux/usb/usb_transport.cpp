// SPDX-License-Identifier: MIT
#include "platform/linux/usb/usb_transport.h"

#include <utility>

#include "platform/linux/usb/driver_watch.h"
#include "platform/linux/usb/libusb_bus.h"
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

UsbInputMaker inputMaker() {
    return [](const std::shared_ptr<CaptureDevice>&, const UsbCamera&,
              Error& error) -> std::unique_ptr<CaptureDeviceInput> {
        error = {ErrorCode::invalid, "no pictures over USB"};
        return nullptr;
    };
}

} // namespace

UsbTransportHalves makeUsbTransport(MainQueue& mainQueue, Diagnostics& diagnostics,
                                    const CaptureFormatRequest& /*request*/) {
    if (const auto denied = deniedCamera("/sys", usbNodeProbe()))
        return {nullptr, nullptr, missingRightsLine(*denied)};
    const std::shared_ptr<LibusbBus> bus = LibusbBus::open();
    if (!bus)
        return {nullptr, nullptr, "libusb finds no USB here, so the cameras stay with the kernel's driver"};
    const UsbTransport transport{std::make_shared<UsbCameraClaims>(bus, watchStarter(), diagnostics),
                                 [bus] { return bus->hotplugEvents(); }};
    return {makeUsbTransportUsbPlatform(transport, diagnostics),
            makeUsbTransportCapturePlatform(transport, mainQueue, inputMaker()),
            {}};
}

} // namespace tavelo
