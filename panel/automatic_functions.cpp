// SPDX-License-Identifier: MIT
#include "panel/automatic_functions.h"

#include <algorithm>
#include <array>

namespace tavelo {
namespace {

using enum KTUVCControl;

constexpr std::array functions{
    AutomaticFunction{autoWhiteBalance, whiteBalance, "auto_white_balance"},
    AutomaticFunction{autoExposureMode, exposureTime, "auto_exposure"},
    AutomaticFunction{autoFocus, focus, "auto_focus"},
    AutomaticFunction{autoHue, hue, "auto_hue"},
};

std::int64_t manualValue(const AutomaticFunction& function) {
    return controlRow(function.manual).automatic->manualValue;
}

// The class's bits for "automatic time", without and with an automatic iris; most cameras have the first.
constexpr std::array<std::int64_t, 2> automaticExposures{8, 2};

} // namespace

std::span<const AutomaticFunction> automaticFunctions() {
    return functions;
}

const AutomaticFunction* automaticFunctionOf(KTUVCControl manual) {
    const auto* const found = std::ranges::find(functions, manual, &AutomaticFunction::manual);
    return found != functions.end() ? found : nullptr;
}

bool isSupported(const KTUVCManager& manager, const AutomaticFunction& function) {
    const auto& record = manager.record(function.automatic);
    return record && record->supported();
}

bool isOn(const KTUVCManager& manager, const AutomaticFunction& function) {
    return isSupported(manager, function) &&
           manager.record(function.automatic)->val() != manualValue(function);
}

std::vector<std::int64_t> valuesFor(const KTUVCManager& manager, const AutomaticFunction& function, bool on) {
    if (!on) return {manualValue(function)};
    if (function.automatic != autoExposureMode) return {1};
    std::vector<std::int64_t> modes(automaticExposures.begin(), automaticExposures.end());
    // The camera's own default is a mode that it has.
    const auto own = std::ranges::find(modes, manager.record(function.automatic)->def());
    if (own != modes.end()) std::rotate(modes.begin(), own, own + 1);
    return modes;
}

} // namespace tavelo
