// SPDX-License-Identifier: MIT
#include "counters.h"

#include <dlfcn.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t smallestPiece = 1024;

// Constant-initialised, because they are used before main().
constinit std::atomic<std::uint64_t> allocations = 0;
constinit std::atomic<std::uint64_t> copiedBytes = 0;

using Copy = void* (*)(void*, const void*, std::size_t);

constinit std::atomic<Copy> systemMove = nullptr;

void* copyByBytes(void* to, const void* from, std::size_t size) {
    auto* out = static_cast<unsigned char*>(to);
    const auto* in = static_cast<const unsigned char*>(from);
    if (out <= in) {
        for (std::size_t i = 0; i < size; ++i)
            out[i] = in[i];
    } else {
        for (std::size_t i = size; i > 0; --i)
            out[i - 1] = in[i - 1];
    }
    return to;
}

// Uses memmove for both.  Until dlsym() has found it, copies byte by byte.
void* copyAndCount(void* to, const void* from, std::size_t size) {
    if (size >= smallestPiece) copiedBytes.fetch_add(size, std::memory_order_relaxed);
    if (const Copy move = systemMove.load(std::memory_order_acquire)) return move(to, from, size);
    return copyByBytes(to, from, size);
}

struct FindSystemMove {
    FindSystemMove() { systemMove = reinterpret_cast<Copy>(dlsym(RTLD_NEXT, "memmove")); }
};
const FindSystemMove findSystemMove;

void* allocate(std::size_t size, std::size_t alignment) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    void* memory = nullptr;
    if (posix_memalign(&memory, alignment, size == 0 ? 1 : size) != 0) throw std::bad_alloc();
    return memory;
}

} // namespace

extern "C" void* memcpy(void* to, const void* from, std::size_t size) {
    return copyAndCount(to, from, size);
}
extern "C" void* memmove(void* to, const void* from, std::size_t size) {
    return copyAndCount(to, from, size);
}

void* operator new(std::size_t size) {
    return allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocate(size, std::size_t(alignment));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}

namespace tavelo::bench {

Counts counts() {
    return {allocations, copiedBytes};
}

} // namespace tavelo::bench
