// SPDX-License-Identifier: MIT
// Counts heap allocations of a test program.
#pragma once

namespace tavelo::testing {

/// Calls of `operator new` in the whole process so far; malloc() in C libraries does not count.  Thread-safe.
/// Requires tavelo_allocation_counter.
int allocations();

} // namespace tavelo::testing
