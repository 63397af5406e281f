// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/usb_stream_input.h"

#include <utility>

#include "platform/linux/device_holders.h"
#include "platform/linux/usb/stream/libusb_stream_port.h"
#include "platform/linux/usb/stream/port_stream_input.h"

namespace tavelo {

std::unique_ptr<CaptureDeviceInput> makeUsbStreamInput(std::shared_ptr<CaptureDevice> device,
                                                       UsbStreamSetup setup) {
    const auto connect = [acquire = std::move(setup.acquire)](Error& error) {
        UsbStreamAccess access = acquire(error);
        UsbStreamConnection connection;
        if (access.handle == nullptr) return connection;
        connection.streamingInterface = access.streamingInterface;
        connection.configurationDescriptor = access.configurationDescriptor;
        connection.port = makeLibusbStreamPort(std::move(access));
        return connection;
    };
    const auto whoHolds = [node = std::move(setup.node)] { return busyText(deviceHolders(node)); };
    return std::make_unique<PortStreamInput>(
        std::move(device),
        PortStreamSetup{
            connect, setup.diagnostics, std::move(setup.request), {}, whoHolds, std::move(setup.priority)});
}

} // namespace tavelo
