// SPDX-License-Identifier: MIT
// Reads a claimed camera's controls: requests and answers as they are on the bus.
#pragma once

#include <memory>

#include "platform/camera_inspector.h"
#include "platform/linux/usb/device/usb_handle.h"

namespace tavelo {

/// Waits one second for each answer.
class UsbInspector final : public CameraInspector {
public:
    /// @param camera the share of it that this object keeps
    UsbInspector(std::shared_ptr<UsbHandle> camera, std::uint8_t controlInterface);

    RawAnswer ask(const RawQuestion& question) override;
    AnswerSource sourceOf(std::uint8_t /*entity*/) const override { return AnswerSource::camera; }
    DriverView driverView(std::uint8_t /*entity*/, std::uint8_t /*selector*/) override { return {}; }
    std::string transport() const override { return "usb"; }
    std::string node() const override { return {}; }

private:
    const std::shared_ptr<UsbHandle> camera_;
    const std::uint8_t controlInterface_;
};

} // namespace tavelo
