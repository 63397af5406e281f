// SPDX-License-Identifier: MIT
// A V4L2 camera in the device list.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "platform/backend.h"
#include "platform/capture.h"
#include "platform/diagnostics.h"
#include "platform/linux/kernel/capture_input.h"
#include "platform/linux/pipewire/module/late_pipewire.h"
#include "platform/linux/v4l2/v4l2_node.h"
#include "platform/linux/v4l2/video_nodes.h"

namespace tavelo {

/// Shared by all devices of a list.  The diagnostics must outlive the devices and their inputs.
struct KernelDeviceOptions {
    std::shared_ptr<V4l2NodeOpener> opener;
    Diagnostics& diagnostics;
    CaptureFormatRequest request;
    std::filesystem::path sysfs = "/sys";
    std::shared_ptr<ThreadPriority> priority = {}; ///< of the streaming threads; may be null
    PictureSource pictures = PictureSource::automatic;
    std::shared_ptr<LatePipewire> pipewire = {}; ///< null: pictures come from the driver
};

class KernelCaptureDevice final : public CaptureDevice,
                                  public std::enable_shared_from_this<KernelCaptureDevice> {
public:
    /// @param rightsMayComeUntil udev gives access to a new node a moment after it appears; until this time
    ///     an input is made without access, and waits for it
    KernelCaptureDevice(VideoNode node, KernelDeviceOptions options,
                        std::chrono::steady_clock::time_point rightsMayComeUntil);

    const std::string& uniqueID() const override { return node_.uniqueID; }
    const std::string& localizedName() const override { return node_.localizedName; }
    bool hasMediaType(MediaType type) const override { return type == MediaType::video; }
    std::string node() const override { return node_.path(); }
    std::string place() const override { return node_.place; }
    std::vector<CaptureFormat> formats() const override;
    DeviceHolders holders() const override;

    /// Also makes an input, which waits, if another program holds the node, or if the node is listed but
    /// not there yet: it is announced a moment before the driver opens it for all.
    std::unique_ptr<CaptureDeviceInput> makeInput(Error& error) override;

private:
    SharedPictures sharedPictures() const;

    const VideoNode node_;
    const KernelDeviceOptions options_;
    const std::chrono::steady_clock::time_point rightsMayComeUntil_;
};

} // namespace tavelo
