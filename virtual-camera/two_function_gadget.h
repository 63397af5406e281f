// SPDX-License-Identifier: MIT
// Two virtual cameras in one USB device, such as a notebook's colour and infrared cameras.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "virtual-camera/virtual_camera_gadget.h"

namespace tavelo {

/// A device with two video functions, each with its own firmware: controls, values, faults and streams are
/// separate.  The device itself and its strings are those of the first.  Thread-safe.
class TwoFunctionGadget : public UsbGadget {
public:
    /// @param second its model starts at interface 2
    TwoFunctionGadget(const std::shared_ptr<VirtualCameraFirmware>& first,
                      const std::shared_ptr<VirtualCameraFirmware>& second);

    std::span<const std::uint8_t> deviceDescriptor() const override { return first_.deviceDescriptor(); }
    std::span<const std::uint8_t> configurationDescriptor() const override { return configuration_; }
    UsbReply control(const UsbSetup& setup, std::span<const std::uint8_t> out) override;
    std::optional<std::size_t> in(std::uint8_t endpoint, std::span<std::uint8_t> packet) override;

private:
    bool concernsSecond(const UsbSetup& setup) const;

    VirtualCameraGadget first_;
    VirtualCameraGadget second_;
    const VirtualCameraModel& secondModel_;
    const std::vector<std::uint8_t> configuration_;
};

} // namespace tavelo
