// SPDX-License-Identifier: MIT
#include "process/heap_limits.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>
#include <vector>

namespace tavelo {
namespace {

std::size_t bytesOutsideHeaps() {
    return ::mallinfo2().hblkhd;
}

/// A sanitizer's own, about which glibc knows nothing.
bool isAnotherAllocator() {
    return ::mallinfo2().uordblks == 0;
}

void useAndFree(std::size_t size) {
    const std::vector<char> block(size, 'x');
    EXPECT_EQ(block.back(), 'x');
}

TEST(HeapLimits, APictureLiesOutsideTheHeapsAlsoAfterALargerOneWasFreed) {
    if (isAnotherAllocator()) return;
    constexpr std::size_t picture = 1280 * 720 * 3 / 2;
    keepPicturesOutOfHeaps();
    const std::size_t before = bytesOutsideHeaps();
    useAndFree(8 * picture);
    const std::vector<char> kept(picture);
    EXPECT_GE(bytesOutsideHeaps(), before + picture);
}

TEST(HeapLimits, ACompressedPictureLiesInAHeap) {
    keepPicturesOutOfHeaps();
    const std::size_t before = bytesOutsideHeaps();
    const std::vector<char> kept(340'000);
    EXPECT_EQ(bytesOutsideHeaps(), before);
}

} // namespace
} // namespace tavelo
