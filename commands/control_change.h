// SPDX-License-Identifier: MIT
// Changes of controls as people write them: "brightness=+5", "zoom=50%", "power-line-frequency=50hz".  A sign
// makes a number relative; a second "=" makes it absolute again: "brightness==-5".
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "commands/control_state.h"

namespace tavelo {

struct ControlChange {
    enum class Kind : std::uint8_t {
        absolute,     ///< to `number`
        relative,     ///< by `number`, up to the end of the range
        percent,      ///< to `number` percent of the range
        defaultValue, ///< to the camera's default
    };

    const NamedControl* control = nullptr;
    Kind kind = Kind::absolute;
    double number = 0; ///< a whole number for every kind but percent
};

/// Nothing, with the reason, if the text is no change.
std::optional<ControlChange> parseControlChange(std::string_view text, const FindControl& find,
                                                std::string& reason);

struct PlannedWrite {
    const NamedControl* control = nullptr;
    std::int64_t value = 0;
    bool isForced = false; ///< turns an automatic off that no change names
};

/// The writes for some changes, in their order; nothing, with the reason, if the bound camera cannot take
/// one of them.  Sends no request that changes anything.
/// @param force whether to turn off an automatic that rules a changed control
std::optional<std::vector<PlannedWrite>> planChanges(KTUVCManager& manager,
                                                     std::span<const ControlChange> changes, bool force,
                                                     std::string& reason);

/// Writes one value; afterwards the record of a control of the class holds what the camera took.
/// @return what the camera took; nothing if it did not
std::optional<std::int64_t> write(KTUVCManager& manager, const PlannedWrite& planned);

/// Why a write() that took nothing failed, in words for the user; manager.failure() has the kind.
std::string writeFailureText(const KTUVCManager& manager, const PlannedWrite& planned);

/// The words for a refused value: the range or the choices.
std::string rangeText(const ControlState& state);

} // namespace tavelo
