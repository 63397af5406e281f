// SPDX-License-Identifier: MIT
// A running preview makes no heap allocation per frame.
#include <gmock/gmock.h>

#include <chrono>
#include <thread>

#include "fake_backend.h"
#include "support/allocation_counter.h"
#include "test_picture.h"
#include "video/cpu/cpu_frame_passes.h"

namespace tavelo::testing {
namespace {

// Draws into a picture that is never shown, because showing it is up to the window system.
class MemorySurface final : public FrameSurface {
public:
    explicit MemorySurface(CpuFramePasses& passes) : passes_(passes) {}

    void setDrawable(bool) override {}
    bool makeCurrent() override { return true; }
    bool beginDisplay(ViewportSize viewport) override {
        pixels_.resize(std::size_t(viewport.width) * viewport.height);
        passes_.setTarget({reinterpret_cast<std::uint8_t*>(pixels_.data()), viewport.width, viewport.height,
                           std::size_t(viewport.width) * 4});
        return true;
    }
    void present() override {}
    void flush() override {}

private:
    CpuFramePasses& passes_;
    std::vector<std::uint32_t> pixels_;
};

TEST(FrameAllocation, FramesInTheSteadyStateTakeNothingFromTheHeap) {
    KTMTKView view(QRect(), [](QWindow&, SerialQueue&) {
        RenderBackend backend;
        auto passes = std::make_unique<CpuFramePasses>();
        backend.surface = std::make_unique<MemorySurface>(*passes);
        backend.passes = std::move(passes);
        return backend;
    });
    view.mtkViewDrawableSizeWillChange(536, 301);
    const auto frame = makeTestPicture(1280, 720);
    const auto drawUntil = [&](std::int64_t first, std::int64_t last) {
        for (std::int64_t time = first; time <= last; ++time)
            view.drawPixelBufferWithPresentationTime(
                frame, MediaTime::fromNanoseconds(std::chrono::nanoseconds(time)));
        while (view.presentationTime().value != last)
            std::this_thread::yield();
    };
    drawUntil(1, 20);
    view.renderQueue().sync([] {});
    const int before = allocations();
    const std::uint64_t drawn = view.drawnFrames();
    drawUntil(21, 70);
    while (view.drawnFrames() == drawn)
        std::this_thread::yield();
    EXPECT_EQ(allocations() - before, 0);
    EXPECT_GT(before, 0); // the counter works
}

} // namespace
} // namespace tavelo::testing
