// SPDX-License-Identifier: MIT
// A separate program, because it counts every allocation of the process.  PipeWire's own allocations use
// malloc() and do not count.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "fake_camera.h"
#include "platform/linux/kernel/capture_input.h"
#include "platform/linux/pipewire/library_platform.h"
#include "platform/linux/pipewire/private_pipewire.h"
#include "platform/linux/pipewire/test_picture_source.h"
#include "support/allocation_counter.h"
#include "support/recorded_diagnostics.h"
#include "support/wait_limit.h"
#include "test_pictures.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;

class CountedFrames final : public FrameSink {
public:
    void consume(const SampleBuffer& /*sample*/) override { ++count; }

    std::atomic<int> count = 0;
};

/// Sends until so many more have arrived; the source may lose some.
bool pass(TestPictureSource& source, const CountedFrames& frames, const Bytes& bytes, int count) {
    const auto end = std::chrono::steady_clock::now() + waitLimit;
    const int wanted = frames.count + count;
    while (frames.count < wanted && std::chrono::steady_clock::now() < end) {
        source.send(bytes);
        std::this_thread::sleep_for(1ms);
    }
    return frames.count >= wanted;
}

void expectNothingAllocatedForFramesOf(const FormatChoice& format, const Bytes& bytes) {
    const std::string node = "/dev/video7";
    PrivatePipewire pipewire;
    pipewire.start();
    RecordedDiagnostics diagnostics;
    FakeCamera driver;
    CountedFrames frames;
    const auto platform = makePipewirePlatform(diagnostics);
    TestPictureSource source(node, {format});
    KernelCaptureInput input(
        nullptr, node, std::shared_ptr<V4l2NodeOpener>(std::shared_ptr<void>(), &driver),
        CaptureInputOptions{.diagnostics = diagnostics, .whoHolds = {}},
        SharedPictures{
            .open = [&] { return platform->makeSharedCamera(node); }, .only = true, .linkTime = 30s});
    input.start(frames);
    ASSERT_TRUE(source.waitForStreaming());
    ASSERT_TRUE(pass(source, frames, bytes, 20));

    const int before = allocations();
    ASSERT_TRUE(pass(source, frames, bytes, 100));
    EXPECT_EQ(allocations() - before, 0);
    EXPECT_GT(before, 0); // the counter works
}

TEST(SharedAllocation, YuyvFramesInTheSteadyStateTakeNothingFromOurHeap) {
    expectNothingAllocatedForFramesOf({fourcc::yuyv, {32, 16}, {1, 30}}, Bytes(1024, 90));
}

TEST(SharedAllocation, MjpegFramesInTheSteadyStateTakeNothingFromOurHeap) {
    expectNothingAllocatedForFramesOf({fourcc::mjpeg, {64, 48}, {1, 30}}, noisyJpeg(64, 48));
}

} // namespace
} // namespace tavelo::testing
