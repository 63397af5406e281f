// SPDX-License-Identifier: MIT
// Reads a description of an extension unit: docs/extension-units.md says what is in it.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "extensions/extension_control.h"

namespace tavelo {

inline constexpr std::string_view descriptionFormat = "tavelo extension unit";
inline constexpr int descriptionVersion = 1;

// Bounds of a description.
inline constexpr std::size_t longestDescription = std::size_t{256} << 10U; ///< bytes of a file
inline constexpr std::size_t longestUnitValue = 1024;                      ///< bytes of a control's value
inline constexpr std::size_t mostUnitControls = 64;
inline constexpr std::size_t mostUnitChoices = 64;
inline constexpr std::size_t longestControlName = 48;
inline constexpr std::size_t longestTitle = 200; ///< bytes

/// Whether a name belongs to something else already.
using IsReservedName = std::function<bool(std::string_view name)>;

/// The controls of one unit.  Nothing, with the reason in one line, unless the whole text is a description of
/// this version within the bounds.  Accepts any bytes.  Reentrant.
std::optional<std::vector<ExtensionControl>> readDescription(std::string_view text,
                                                             const IsReservedName& isReserved,
                                                             std::string& reason);

} // namespace tavelo
