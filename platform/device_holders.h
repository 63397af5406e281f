// SPDX-License-Identifier: MIT
// The programs that have a device open.
#pragma once

#include <cstdint>
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

} // namespace tavelo
