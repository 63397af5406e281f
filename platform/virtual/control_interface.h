// SPDX-License-Identifier: MIT
// The video-control interface of a virtual camera.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/usb_interface.h"
#include "platform/virtual/control_watch.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"

namespace tavelo {

/// Passes requests to the firmware unchanged.  A silent camera times out at once, since waiting for it would
/// gain nothing.
class VirtualControlInterface final : public UsbInterface {
public:
    VirtualControlInterface(std::shared_ptr<VirtualCameraFirmware> firmware, std::uint8_t number);
    ~VirtualControlInterface() override;

    VirtualControlInterface(const VirtualControlInterface&) = delete;
    VirtualControlInterface& operator=(const VirtualControlInterface&) = delete;

    ErrorCode ControlRequest(UsbControlRequest& request) override;
    void USBInterfaceClose() override;
    std::uint8_t GetInterfaceNumber() const override { return number_; }
    std::unique_ptr<ControlWatch> watchControls(const ControlWatchEvents& events) override;

private:
    ErrorCode failure(const UsbControlRequest& request, UsbReplyKind kind) const;

    const std::shared_ptr<VirtualCameraFirmware> firmware_;
    const std::uint8_t number_;
    const FirmwareHost host_;
    std::atomic<bool> open_ = true;

    std::mutex mutex_; // makes one watch at a time, and none once closed
    const std::shared_ptr<VirtualControlWatch::Reach> watch_ = std::make_shared<VirtualControlWatch::Reach>();
};

} // namespace tavelo
