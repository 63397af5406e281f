// SPDX-License-Identifier: MIT
// Finds and opens the video node of a video-control interface.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/diagnostics.h"
#include "platform/linux/bus/sysfs_usb.h"
#include "platform/linux/kernel/kernel_usb_platform.h"

namespace tavelo {

struct OpenedControlNode {
    std::shared_ptr<V4l2Node> device; ///< null if none could be opened
    std::string path;                 ///< "/dev/video0"
};

/// Opens the first capturing node of a video-control interface.
///
/// The node of a camera just plugged in appears a moment before udev's rules give the user access to it, so
/// a refusal is retried, for 80 ms in all; the main thread waits here.  A failure is reported in one line.
OpenedControlNode openControlNode(const KernelUsbSurroundings& surroundings, const SysfsUsbDevice& device,
                                  std::uint8_t interfaceNumber, Diagnostics& diagnostics);

} // namespace tavelo
