// SPDX-License-Identifier: MIT
// All that a camera says about one control.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "commands/control_catalog.h"
#include "commands/control_names.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {

/// A camera's control.  Numbers are in the control's own unit, pan and tilt each in their half.
struct ControlState {
    const NamedControl* control = nullptr;
    std::int64_t value = 0;
    std::optional<std::int64_t> minimum; ///< absent for switches and choices
    std::optional<std::int64_t> maximum;
    std::optional<std::int64_t> step; ///< absent too if the camera does not say
    std::optional<std::int64_t> defaultValue;
    /// What the control can hold at all, whatever the camera takes of it.
    std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
    std::int64_t highest = std::numeric_limits<std::uint32_t>::max();
    /// The choices that the camera has; empty for numbers.
    std::vector<ChoiceWord> choices;
    /// The automatic control that rules this one, if the camera has it.
    const NamedControl* automatic = nullptr;
    /// Whether it does so now: the value cannot be set.
    bool isAutomatic = false;
    /// The controls of this camera that this one rules.
    std::vector<const NamedControl*> rules;
};

/// The bound camera's state of one control; nothing if it does not have it.  Of a control of the class it
/// comes from the records, and at most one request is sent; one of an extension unit is read from the camera.
/// @param withStep whether to ask for the step and the offered choices, of a unit's control also for the
/// range
///     and the default
std::optional<ControlState> controlState(KTUVCManager& manager, const NamedControl& control, bool withStep);

/// Whether the bound camera has any control.  Its units are asked only if it has none of the class.
bool hasControls(KTUVCManager& manager, const ControlCatalog& catalog);

/// Every control that the bound camera has.
std::vector<ControlState> controlStates(KTUVCManager& manager, const ControlCatalog& catalog);

/// Why the bound camera has no state of a control, in words.
std::string absenceText(KTUVCManager& manager, const NamedControl& control);

} // namespace tavelo
