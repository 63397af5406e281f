// SPDX-License-Identifier: MIT
// Where the programs' data files are.
#pragma once

#include <filesystem>
#include <vector>

namespace tavelo {

/// The folders with descriptions of extension units: the program's, then the user's
/// ($XDG_DATA_HOME/tavelo-control-panel/extension-units, by default in ~/.local/share).  Neither needs to
/// exist. Needs a QCoreApplication.
std::vector<std::filesystem::path> extensionUnitFolders();

/// The first page of the installed manual, which may be missing.  Needs a QCoreApplication.
std::filesystem::path manualPage();

} // namespace tavelo
