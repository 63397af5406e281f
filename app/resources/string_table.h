// SPDX-License-Identifier: MIT
// The texts of one language.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace tavelo {

struct StringTable {
    std::string localization;
    int position = 0; ///< in the menu of languages
    std::map<std::string, std::string, std::less<>> texts;
};

/// Reads a file of resources/strings.  What is no text is left out, and all of it if the file is no JSON
/// object. Reentrant.
StringTable stringTableOf(std::string localization, std::string_view json);

} // namespace tavelo
