// SPDX-License-Identifier: MIT
// What the kernel shows of a USB camera in /sys.
#pragma once

#include <filesystem>

namespace tavelo::bench {

/// Makes a host controller with one camera and its video node, video0, with character device 81:0.  Throws
/// std::filesystem::filesystem_error.
void makeUsbTree(const std::filesystem::path& sysfs);

} // namespace tavelo::bench
