// SPDX-License-Identifier: MIT
// A virtual camera as a device on a USB bus: its firmware and the stream that the host starts and stops.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>

#include "platform/virtual/firmware/usb_gadget.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"
#include "virtual-camera/uvc_stream.h"

namespace tavelo {

/// Thread-safe.
class VirtualCameraGadget : public UsbGadget {
public:
    explicit VirtualCameraGadget(std::shared_ptr<VirtualCameraFirmware> firmware);
    ~VirtualCameraGadget() override;

    std::span<const std::uint8_t> deviceDescriptor() const override;
    std::span<const std::uint8_t> configurationDescriptor() const override;
    UsbReply control(const UsbSetup& setup, std::span<const std::uint8_t> out) override;
    std::optional<std::size_t> in(std::uint8_t endpoint, std::span<std::uint8_t> packet) override;

private:
    void followFirmware();
    std::unique_ptr<UvcStream> makeStream(const StreamFormat& format) const;

    const std::shared_ptr<VirtualCameraFirmware> firmware_;

    std::mutex switchMutex_; // held while a stream is started or stopped; guards running_
    std::optional<StreamFormat> running_;

    std::mutex streamMutex_; // guards stream_
    std::unique_ptr<UvcStream> stream_;
};

} // namespace tavelo
