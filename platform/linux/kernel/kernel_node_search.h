// SPDX-License-Identifier: MIT
// Finds and opens the video node through which an interface's controls are reached.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/diagnostics.h"
#include "platform/linux/bus/sysfs_usb.h"
#include "platform/linux/kernel/kernel_usb_platform.h"

namespace tavelo {

struct OpenedControlNode {
    std::shared_ptr<V4l2ControlDevice> device; ///< null where none could be opened
    std::string path;                          ///< "/dev/video0"
};

/// Opens the first capturing node of a video-control interface.
///
/// A camera just plugged in has its node a moment before the user has the rights to it (udev's rules run in
/// between), so a refusal is tried again, for 80 ms in all: the main thread waits here.  A failure is
/// reported in one line.
OpenedControlNode openControlNode(const KernelUsbSurroundings& surroundings, const SysfsUsbDevice& device,
                                  std::uint8_t interfaceNumber, Diagnostics& diagnostics);

} // namespace tavelo
