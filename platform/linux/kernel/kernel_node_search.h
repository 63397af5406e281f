// SPDX-License-Identifier: MIT
// Finds and opens the video node of a video-control interface.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "platform/diagnostics.h"
#include "platform/linux/bus/sysfs_usb.h"
#include "platform/linux/v4l2/v4l2_node.h"

namespace tavelo {

struct ControlNodeOptions {
    std::filesystem::path devices = "/dev";
    std::shared_ptr<V4l2NodeOpener> opener = std::make_shared<KernelNodeOpener>();
    /// Sleeps between two attempts to open a node.
    std::function<void(std::chrono::milliseconds)> pause = [](std::chrono::milliseconds time) {
        std::this_thread::sleep_for(time);
    };
};

struct OpenedControlNode {
    std::shared_ptr<V4l2Node> device; ///< null if none could be opened
    std::string path;                 ///< "/dev/video0"
};

/// Opens the first capturing node of a video-control interface.
///
/// The node of a camera just plugged in appears a moment before udev's rules give the user access to it, so
/// a refusal is retried, for 80 ms in all; the main thread waits here.  A failure is reported in one line.
OpenedControlNode openControlNode(const ControlNodeOptions& options, const SysfsUsbDevice& device,
                                  std::uint8_t interfaceNumber, Diagnostics& diagnostics);

} // namespace tavelo
