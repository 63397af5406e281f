// SPDX-License-Identifier: MIT
#include "platform/virtual/backend.h"

#include "platform/virtual/device_list.h"
#include "platform/virtual/virtual_usb_platform.h"

namespace tavelo {

VirtualBackend makeVirtualBackend(int cameras, const CaptureFormatRequest& format, MainQueue& mainQueue) {
    VirtualBackend backend;
    backend.bus = std::make_shared<VirtualBus>();
    for (int number = 1; number <= cameras; ++number)
        backend.bus->plug(virtualCameraModel(number));
    backend.usb = std::make_unique<VirtualUsbPlatform>(backend.bus);
    backend.capture = std::make_unique<VirtualCapturePlatform>(backend.bus, mainQueue, format);
    return backend;
}

} // namespace tavelo
