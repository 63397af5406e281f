// SPDX-License-Identifier: MIT
// What every fuzz target ends with where an answer makes no sense.
#pragma once

#include <cstdlib>

namespace tavelo::fuzz {

/// The sanitizers end a run where a read goes astray; this ends it where what was read cannot be.
inline void expect(bool sane) {
    if (!sane) std::abort();
}

} // namespace tavelo::fuzz
