// SPDX-License-Identifier: MIT
// The video-control interface of a virtual camera.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/usb_interface.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"

namespace tavelo {

/// Passes requests to the firmware unchanged.  A silent camera times out at once, since waiting for it would
/// gain nothing.
class VirtualControlInterface final : public UsbInterface {
public:
    VirtualControlInterface(std::shared_ptr<VirtualCameraFirmware> firmware, std::uint8_t number);

    ErrorCode ControlRequest(UsbControlRequest& request) override;
    void USBInterfaceClose() override { open_ = false; }
    std::uint8_t GetInterfaceNumber() const override { return number_; }

private:
    ErrorCode failure(const UsbControlRequest& request, UsbReplyKind kind) const;

    const std::shared_ptr<VirtualCameraFirmware> firmware_;
    const std::uint8_t number_;
    std::atomic<bool> open_ = true;
};

} // namespace tavelo
