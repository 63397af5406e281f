// SPDX-License-Identifier: MIT
// Shows the manual.
#pragma once

#include <filesystem>

namespace tavelo {

/// Opens a page in the desktop's browser; says why not in one line on the standard error stream.  Needs a
/// QGuiApplication, on a platform that can reach the desktop.  Main thread.
/// @return whether a browser was asked to show it
bool showManual(const std::filesystem::path& page);

} // namespace tavelo
