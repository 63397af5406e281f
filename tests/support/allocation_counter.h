// SPDX-License-Identifier: MIT
// Counts what a test program takes from the heap.
#pragma once

namespace tavelo::testing {

/// Uses of `operator new` by the whole process so far; malloc() by C libraries does not count.  Thread-safe.
/// Only in programs that link tavelo_allocation_counter.
int allocations();

} // namespace tavelo::testing
