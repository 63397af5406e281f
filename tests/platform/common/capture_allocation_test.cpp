// SPDX-License-Identifier: MIT
// A separate program, because it counts every allocation of the process.
#include <gtest/gtest.h>

#include "fake_input.h"
#include "platform/common/pixel_buffer_pool.h"
#include "platform/common/standard_capture_session.h"
#include "support/allocation_counter.h"

namespace tavelo {
namespace {

class CountingDelegate final : public SampleBufferDelegate {
public:
    void captureOutputDidOutputSampleBufferFromConnection(CaptureVideoDataOutput& /*output*/,
                                                          const SampleBuffer& /*sample*/,
                                                          const CaptureConnection& /*connection*/) override {
        ++delivered;
    }
    void captureOutputDidDropSampleBufferFromConnection(CaptureVideoDataOutput& /*output*/,
                                                        const SampleBuffer& /*sample*/,
                                                        const CaptureConnection& /*connection*/) override {
        ++dropped;
    }

    int delivered = 0;
    int dropped = 0;
};

TEST(CaptureAllocation, AFrameOnItsWayToTheDelegateAllocatesNothing) {
    CountingDelegate delegate;
    SerialQueue queue("test");
    CaptureVideoDataOutput output;
    output.setSampleBufferDelegate(&delegate, &queue);
    FakeInput input;
    const auto session = makeStandardCaptureSession();
    session->addOutput(output);
    session->addInput(input);
    session->startRunning();
    PixelBufferPool pool(3);
    {
        const auto first = pool.take(PixelFormat::bgra32, 64, 48);
        const auto second = pool.take(PixelFormat::bgra32, 64, 48);
        const auto third = pool.take(PixelFormat::bgra32, 64, 48);
    }
    const std::function<void()> nothing = [] {};
    const auto frame = [&](std::int64_t time) {
        input.feed(time, pool.take(PixelFormat::bgra32, 64, 48));
        input.feed(time, pool.take(PixelFormat::bgra32, 64, 48)); // delivered, or dropped as late
        queue.sync(nothing);
    };
    for (int i = 0; i < 10; ++i)
        frame(i);

    const int before = testing::allocations();
    for (int i = 0; i < 100; ++i)
        frame(i);
    // sync() may allocate for its closure, but per sync and not per frame.
    const int withFrames = testing::allocations() - before;
    const int beforeSync = testing::allocations();
    for (int i = 0; i < 100; ++i)
        queue.sync(nothing);
    EXPECT_EQ(withFrames, testing::allocations() - beforeSync);
    EXPECT_EQ(delegate.delivered + delegate.dropped, 220);
    EXPECT_GE(delegate.delivered, 110);
    session->stopRunning();
}

} // namespace
} // namespace tavelo
