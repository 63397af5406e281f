// SPDX-License-Identifier: MIT
// Finds the descriptions of extension units on the disk.
#pragma once

#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "extensions/extension_control.h"
#include "extensions/json/description_reader.h"

namespace tavelo {

/// Reads every *.json file of some folders, in the order of the file names.  A file in a later folder
/// replaces the one with its name in an earlier folder.  A folder that does not exist is empty.
///
/// A file that cannot be used is left out as a whole.  So is one that describes a control of a unit with a
/// name that an earlier file gave to one of the same unit.
/// @param warn receives a line for each such file, without line break: "FILE: reason"
std::vector<ExtensionControl> readDescriptions(std::span<const std::filesystem::path> folders,
                                               const IsReservedName& isReserved,
                                               const std::function<void(const std::string& line)>& warn);

} // namespace tavelo
