// SPDX-License-Identifier: MIT
// Reads a virtual camera's controls.
#pragma once

#include <memory>

#include "platform/camera_inspector.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"

namespace tavelo {

/// A silent camera times out at once.
class VirtualInspector final : public CameraInspector {
public:
    VirtualInspector(std::shared_ptr<VirtualCameraFirmware> firmware, std::uint8_t controlInterface);

    RawAnswer ask(const RawQuestion& question) override;
    AnswerSource sourceOf(std::uint8_t /*entity*/) const override { return AnswerSource::camera; }
    DriverView driverView(std::uint8_t /*entity*/, std::uint8_t /*selector*/) override { return {}; }
    std::string transport() const override { return "virtual"; }
    std::string node() const override { return {}; }

private:
    const std::shared_ptr<VirtualCameraFirmware> firmware_;
    const std::uint8_t controlInterface_;
};

} // namespace tavelo
