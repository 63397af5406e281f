// SPDX-License-Identifier: MIT
// Counts the program's heap allocations and copied bytes, by replacing the functions that do it.
#pragma once

#include <cstdint>

namespace tavelo::bench {

struct Counts {
    /// Calls of operator new, on all threads.  Calls of malloc by C libraries are not counted.
    std::uint64_t allocations = 0;
    /// By memcpy and memmove, on all threads and in the graphics driver too, without pieces below 1 KiB.
    std::uint64_t copiedBytes = 0;

    friend Counts operator-(const Counts& a, const Counts& b) {
        return {a.allocations - b.allocations, a.copiedBytes - b.copiedBytes};
    }
};

/// Since the program's start.
Counts counts();

} // namespace tavelo::bench
