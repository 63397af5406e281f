// SPDX-License-Identifier: MIT
// Finds out which programs have a device open.
#pragma once

#include <filesystem>
#include <string>

#include "platform/device_holders.h"

namespace tavelo {

/// Searches the open files of every process that we may inspect.  Processes that end meanwhile are left
/// out.  Takes milliseconds and never waits for a device.  Reentrant.
/// @param node "/dev/video0" or "/dev/bus/usb/001/005", not a link
/// @param processes "/proc" except in tests
DeviceHolders deviceHolders(const std::filesystem::path& node,
                            const std::filesystem::path& processes = "/proc");

/// "busy: in use by cheese, process 1234", for a device that was found busy.  Names up to four holders: the
/// system does not tell which of them uses the device.
std::string busyText(const DeviceHolders& holders);

} // namespace tavelo
