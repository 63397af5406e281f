// SPDX-License-Identifier: MIT
// Modules: parts of the program whose libraries are loaded when they are first needed.
#pragma once

#include <filesystem>
#include <string>

namespace tavelo {

/// The installed module of this name, or the one beside this program; the bare name if there is neither.
std::filesystem::path moduleFile(const std::string& name);

/// Loads a module and finds its function.  It stays loaded to the program's end, since objects whose code is
/// in it may outlive whoever loaded it.
/// @return null, with the reason, if the module or its libraries cannot be loaded
void* loadModule(const std::filesystem::path& module, const char* function, std::string& reason);

/// What to say of a module that an upgrade has replaced while the program runs.
std::string otherVersionText(const std::filesystem::path& module);

} // namespace tavelo
