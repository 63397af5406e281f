// SPDX-License-Identifier: MIT
// Which programs have a device open.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tavelo {

/// A process that has the device open; it need not be using it.
struct DeviceHolder {
    std::int64_t process = 0;
    std::string program; ///< printable ASCII, never empty, 64 characters at most

    friend bool operator==(const DeviceHolder&, const DeviceHolder&) = default;
};

struct DeviceHolders {
    std::vector<DeviceHolder> seen; ///< by process number, the calling process left out
    bool someHidden = false;        ///< processes of other users could not be examined
};

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
