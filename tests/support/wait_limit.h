// SPDX-License-Identifier: MIT
// How long a test waits for what another thread does.
#pragma once

#include <chrono>

namespace tavelo::testing {

inline constexpr std::chrono::seconds waitLimit{60}; // sanitizers are slow

} // namespace tavelo::testing
