// SPDX-License-Identifier: MIT
// A virtual camera's interface, as the program's USB seam wants it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/usb_interface.h"
#include "virtual-camera/firmware/virtual_camera_firmware.h"

namespace tavelo {

/// Hands requests to the firmware as they are.  A camera that keeps silent counts as timed out at once:
/// nobody gains from a wait in a program that talks to itself.
class VirtualUsbInterface final : public UsbInterface {
public:
    VirtualUsbInterface(std::shared_ptr<VirtualCameraFirmware> firmware, std::uint8_t number);

    UsbStatus ControlRequest(UsbControlRequest& request) override;
    void USBInterfaceClose() override { open_ = false; }
    std::uint8_t GetInterfaceNumber() const override { return number_; }

private:
    UsbStatus failure(const UsbControlRequest& request, UsbReplyKind kind) const;

    const std::shared_ptr<VirtualCameraFirmware> firmware_;
    const std::uint8_t number_;
    std::atomic<bool> open_ = true;
};

} // namespace tavelo
