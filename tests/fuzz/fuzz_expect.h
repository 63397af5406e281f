// SPDX-License-Identifier: MIT
// Stops a fuzz target if a result makes no sense.
#pragma once

#include <cstdlib>

namespace tavelo::fuzz {

/// The sanitizers detect invalid reads; this detects impossible results.
inline void expect(bool sane) {
    if (!sane) std::abort();
}

} // namespace tavelo::fuzz
