// SPDX-License-Identifier: MIT
// JSON that a person wrote, with the line of a mistake.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace tavelo {

/// Nothing, with the reason, for anything but JSON of a few levels in which no object has a key twice.
/// Accepts any bytes.  Reentrant.
std::optional<nlohmann::json> parseJson(std::string_view text, std::string& reason);

} // namespace tavelo
