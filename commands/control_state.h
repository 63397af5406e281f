// SPDX-License-Identifier: MIT
// All that a camera says about one control.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

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
    /// The choices that the camera has; empty for numbers.
    std::vector<ChoiceWord> choices;
    /// The automatic control that rules this one, if the camera has it.
    const NamedControl* automatic = nullptr;
    /// Whether it does so now: the value cannot be set.
    bool isAutomatic = false;
    /// The controls of this camera that this one rules.
    std::vector<const NamedControl*> rules;
};

/// The bound camera's state of one control, from the records; nothing if it does not have it.  Sends at most
/// one request.
/// @param withStep whether to ask the camera for the step and for the choices that it offers
std::optional<ControlState> controlState(KTUVCManager& manager, const NamedControl& control, bool withStep);

/// Every control that the bound camera has.
std::vector<ControlState> controlStates(KTUVCManager& manager);

} // namespace tavelo
