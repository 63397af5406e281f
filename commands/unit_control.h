// SPDX-License-Identifier: MIT
// Controls of extension units as the bound camera has them.  controlState() and write() choose between these
// and the class's.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "commands/control_state.h"

namespace tavelo {

// Each takes a control with `extension`, and sends requests.

/// Nothing if the camera has no such unit, or if that does not fit its description.
std::optional<ControlState> unitControlState(KTUVCManager& manager, const NamedControl& control,
                                             bool withRange);

/// Why there is no state; empty if the camera simply lacks the control.
std::string unitAbsence(KTUVCManager& manager, const NamedControl& control);

/// @return what the camera took; nothing if it did not
std::optional<std::int64_t> writeUnitControl(KTUVCManager& manager, const NamedControl& control,
                                             std::int64_t value);

} // namespace tavelo
