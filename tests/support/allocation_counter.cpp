// SPDX-License-Identifier: MIT
// Replaces the global operators.  They need their own file: if they are inlined into a caller, GCC warns that
// malloc() is paired with delete.
#include "support/allocation_counter.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<int> count = 0;

void* counted(std::size_t size, std::size_t alignment) noexcept {
    ++count;
    const std::size_t whole = std::max(size, std::size_t(1)) + alignment - 1;
    return std::aligned_alloc(alignment, whole / alignment * alignment);
}

void* countedOrThrown(std::size_t size, std::size_t alignment) {
    if (void* memory = counted(size, alignment)) return memory;
    throw std::bad_alloc();
}

} // namespace

void* operator new(std::size_t size) {
    return countedOrThrown(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return countedOrThrown(size, static_cast<std::size_t>(alignment));
}
// Without these the sanitizers use their own.
void* operator new(std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
    return counted(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*unused*/) noexcept {
    return counted(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

namespace tavelo::testing {

int allocations() {
    return count;
}

} // namespace tavelo::testing
