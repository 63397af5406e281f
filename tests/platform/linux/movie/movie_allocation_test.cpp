// SPDX-License-Identifier: MIT
// A program of its own, since it counts every allocation of the process; FFmpeg's libraries have another way.
#include <atomic>
#include <cstdlib>
#include <new>

#include "movie_fixture.h"

namespace {

std::atomic<int> allocations = 0;

} // namespace

void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
// Kept whole: inlined, GCC sees free() where it expects a delete, and warns.
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

namespace tavelo::testing {
namespace {

TEST_F(MovieTest, FramesInTheSteadyStateTakeNothingFromOurHeap) {
    start(videoSettings(320, 180));
    const auto picture = makeMovingPicture(320, 180);
    const auto appendUpTo = [&](int first, int last) {
        for (int i = first; i < last; ++i) {
            awaitReady(*video_);
            video_->appendSampleBuffer({picture, at(i * frameInterval)});
        }
    };
    appendUpTo(0, 100);
    const int before = allocations;
    appendUpTo(100, 300);
    EXPECT_EQ(allocations - before, 0);
    EXPECT_GT(before, 0); // the counter counts
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
}

} // namespace
} // namespace tavelo::testing
