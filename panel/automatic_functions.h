// SPDX-License-Identifier: MIT
// The camera's automatic functions: white balance, exposure, focus, hue.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "uvc/kt_uvc_manager.h"

namespace tavelo {

struct AutomaticFunction {
    KTUVCControl automatic;
    KTUVCControl manual; ///< what it rules
    /// What the user calls it: a key of the string tables.
    std::string_view title;
};

/// In the order in which they are offered.
std::span<const AutomaticFunction> automaticFunctions();

/// The one that rules a control; null if there is none.
const AutomaticFunction* automaticFunctionOf(KTUVCControl manual);

/// Whether the bound camera has it.
bool isSupported(const KTUVCManager& manager, const AutomaticFunction& function);

/// By the bound camera's record.
bool isOn(const KTUVCManager& manager, const AutomaticFunction& function);

/// The values that switch it, the best first: a camera has only some of the exposure modes, and refuses the
/// others.
std::vector<std::int64_t> valuesFor(const KTUVCManager& manager, const AutomaticFunction& function, bool on);

} // namespace tavelo
