// SPDX-License-Identifier: MIT
// Where the device of a sound card is plugged in.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

namespace tavelo {

/// The USB device in a path of the device tree, such as "1-4.2" of
/// ".../usb1/1-4/1-4.2/1-4.2:1.0/sound/card1". Empty if there is none.
std::string usbPlaceOf(std::string_view path);

/// The same for a sound card, from what PipeWire tells of it: its place in the device tree, or its number.
/// @param sysfs "/sys", or another folder in tests
std::string usbPlaceOf(const std::map<std::string, std::string, std::less<>>& properties,
                       const std::filesystem::path& sysfs = "/sys");

} // namespace tavelo
