// SPDX-License-Identifier: MIT
// Two virtual cameras in one USB device, as a notebook's colour and infrared cameras are.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "virtual-camera/program/virtual_camera_gadget.h"

namespace tavelo {

/// A device with two video functions, each with a firmware of its own: controls, values, faults and stream of
/// one are not the other's.  The device itself, and its strings, are the first one's.  Thread-safe.
class TwoFunctionGadget : public UsbGadget {
public:
    /// @param second stands at interface 2 of its model
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
