// SPDX-License-Identifier: MIT
// Whether we may open the cameras on the USB bus, and what to tell a user who may not.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace tavelo {

/// Opens a device's node for writing and closes it again; 0 or errno.
using UsbNodeProbe = std::function<int(const std::string& path)>;
UsbNodeProbe usbNodeProbe();

/// The node of the first camera that we may not open; nothing if we may open all of them.
std::optional<std::string> deniedCamera(const std::filesystem::path& sysfs, const UsbNodeProbe& probe);

/// One line, without a line break, that says what is missing and how to get it.
std::string missingPermissionLine(const std::string& node);

} // namespace tavelo
