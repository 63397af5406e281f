// SPDX-License-Identifier: MIT
// For the tests that need a window system.
#pragma once

#include <QtGlobal>

namespace tavelo::testing {

inline bool hasDisplay() {
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

} // namespace tavelo::testing
