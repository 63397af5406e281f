// SPDX-License-Identifier: MIT
// What the program takes from the heap and copies, counted by replacing the functions that do it.
#pragma once

#include <cstdint>

namespace tavelo::bench {

struct Counts {
    /// Calls of operator new, on all threads.  What C libraries take by malloc is not ours.
    std::uint64_t allocations = 0;
    /// By memcpy and memmove, on all threads, the graphics driver included; pieces below 1 KiB left out.
    std::uint64_t copiedBytes = 0;

    friend Counts operator-(const Counts& a, const Counts& b) {
        return {a.allocations - b.allocations, a.copiedBytes - b.copiedBytes};
    }
};

/// Since the program's start.
Counts counts();

} // namespace tavelo::bench
