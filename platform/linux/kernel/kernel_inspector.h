// SPDX-License-Identifier: MIT
// Reads a camera's controls through the kernel's driver, as far as it lets through.
#pragma once

#include <memory>
#include <string>

#include "platform/camera_inspector.h"
#include "platform/linux/v4l2/v4l2_node.h"
#include "platform/uvc/usb_video_function.h"

namespace tavelo {

/// The driver answers for the camera terminal and the processing unit, from its V4L2 controls; for controls
/// that it does not map, nobody can be asked.  Requests to other units reach the camera.
class KernelInspector final : public CameraInspector {
public:
    /// @param path "/dev/video0"
    KernelInspector(std::shared_ptr<V4l2Node> node, std::string path, UsbVideoFunction function);

    RawAnswer ask(const RawQuestion& question) override;
    AnswerSource sourceOf(std::uint8_t entity) const override;
    DriverView driverView(std::uint8_t entity, std::uint8_t selector) override;
    std::string transport() const override { return "kernel"; }
    std::string node() const override { return path_; }

private:
    RawAnswer askDriver(ControlAddress control, const RawQuestion& question);
    RawAnswer askCamera(const RawQuestion& question);

    const std::shared_ptr<V4l2Node> node_;
    const std::string path_;
    const UsbVideoFunction function_;
};

} // namespace tavelo
