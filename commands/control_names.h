// SPDX-License-Identifier: MIT
// The names of controls and of their choices, as people type them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "extensions/extension_control.h"
#include "uvc/control_table.h"

namespace tavelo {

/// Pan and tilt are one control of the camera, and two for people.
enum class ControlHalf : std::uint8_t { whole, pan, tilt };

struct ChoiceWord {
    std::int64_t value;
    std::string_view word;
};

struct NamedControl {
    /// The class's; absent for a control of an extension unit.
    std::optional<KTUVCControl> control;
    ControlHalf half;
    std::string_view name; ///< the words of the USB Video Class, with hyphens
    /// Other programs' names for it, with underscores; empty texts fill the array.
    std::array<std::string_view, 2> aliases;
    /// The words for its values; empty for a number.
    std::span<const ChoiceWord> words;
    std::string_view unit; ///< of its numbers; empty if they have none
    /// How the extension unit's control is described; null for one of the class.
    const ExtensionControl* extension = nullptr;
};

/// The controls of the class, in the order of the control table, pan before tilt.  Constant.  ControlCatalog
/// has those of extension units too.
std::span<const NamedControl> namedControls();

/// Finds a control of the class by its name or an alias.  Case does not matter, nor whether words are joined
/// with hyphens or underscores.  Null if there is none.
const NamedControl* controlNamed(std::string_view name);

/// Whether controlNamed() finds it.
bool isClassControl(std::string_view name);

/// Whether two names are one to controlNamed().
bool isSameControlName(std::string_view a, std::string_view b);

/// The words for the two values of a switch.
std::span<const ChoiceWord> switchWords();

/// The name of a control's whole, or of pan for the two halves.
const NamedControl& namedControl(KTUVCControl control);

bool isSwitch(const NamedControl& control);

/// The control's own number in a record's field.
std::int64_t shareOf(const NamedControl& control, std::int64_t value);

/// The word for a value, or the number in digits.
std::string valueText(const NamedControl& control, std::int64_t value);

} // namespace tavelo
