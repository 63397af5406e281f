// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/usb_stream_input.h"

#include <utility>

#include "platform/linux/device_holders.h"
#include "platform/linux/usb/stream/port_stream_input.h"

namespace tavelo {

std::unique_ptr<CaptureDeviceInput> makeUsbStreamInput(std::shared_ptr<CaptureDevice> device,
                                                       UsbStreamSetup setup) {
    const auto whoHolds = [node = std::move(setup.node)] { return busyText(deviceHolders(node)); };
    return std::make_unique<PortStreamInput>(std::move(device),
                                             PortStreamSetup{std::move(setup.acquire),
                                                             setup.streamingInterface,
                                                             std::move(setup.configurationDescriptor),
                                                             setup.diagnostics,
                                                             std::move(setup.request),
                                                             {},
                                                             whoHolds,
                                                             std::move(setup.priority)});
}

} // namespace tavelo
