// SPDX-License-Identifier: MIT
// A separate program, because it counts every allocation of the process.  FFmpeg's own allocations use
// malloc() and do not count.
#include "movie_fixture.h"
#include "support/allocation_counter.h"

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
    const int before = allocations();
    appendUpTo(100, 300);
    EXPECT_EQ(allocations() - before, 0);
    EXPECT_GT(before, 0); // the counter works
    EXPECT_EQ(finish(), AssetWriterStatus::completed);
}

} // namespace
} // namespace tavelo::testing
