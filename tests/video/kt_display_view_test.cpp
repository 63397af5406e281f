// SPDX-License-Identifier: MIT
#include "video/kt_display_view.h"

#include <gmock/gmock.h>

#include <future>

#include "fake_capture.h"
#include "support/recorded_priorities.h"
#include "test_picture.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr QRect frame(0, 0, 536, 301);

class KTDisplayViewTest : public ::testing::Test {
protected:
    void SetUp() override {
        view_ = KTDisplayView::create(frame, platform_, RendererChoice::cpu);
        ASSERT_NE(view_, nullptr);
    }

    FakeSession& session() { return *platform_.session; }

    void settle() {
        view_->captureQueue().sync([] {});
        view_->mtkView()->renderQueue().sync([] {});
    }
    void show(const std::shared_ptr<CaptureDevice>& device) {
        view_->showDevice(device);
        settle();
    }
    void deliver(const std::shared_ptr<PixelBuffer>& picture, std::chrono::nanoseconds time = 1ms) {
        session().deliver(picture, MediaTime::fromNanoseconds(time));
        settle();
    }
    std::vector<std::uint8_t> corrected() {
        const auto buffer = view_->mtkView()->correctPixelBuffer();
        if (!buffer) return {};
        const auto lock = buffer->lock();
        return {buffer->baseAddress(), buffer->baseAddress() + buffer->bytesPerRow() * buffer->height()};
    }

    FakeCapturePlatform platform_;
    std::shared_ptr<FakeDevice> first_ = std::make_shared<FakeDevice>("0x1420000005ac8514");
    std::shared_ptr<FakeDevice> second_ = std::make_shared<FakeDevice>("0x14300000046d0825");
    std::unique_ptr<KTDisplayView> view_;
};

// Construction

TEST(KTDisplayViewCreation, AsksForAHigherPriorityOfTheThreadsThatCarryPictures) {
    FakeCapturePlatform platform;
    const auto priorities = std::make_shared<RecordedPriorities>();
    platform.priority = priorities;
    const auto view = KTDisplayView::create(frame, platform, RendererChoice::cpu);
    EXPECT_TRUE(priorities->waitFor("kt.captureQueue"));
    EXPECT_TRUE(priorities->waitFor("KT.Metal.Render")) << "thread names are cut to 15 characters";
}

TEST(KTDisplayViewCreation, GivesNothingWhenTheOutputCannotBeAdded) {
    FakeCapturePlatform platform;
    platform.acceptsOutput = false;
    EXPECT_EQ(KTDisplayView::create(frame, platform, RendererChoice::cpu), nullptr);
}

TEST_F(KTDisplayViewTest, AsksForBgraOnItsCaptureQueueAndDoesNotStart) {
    EXPECT_EQ(session().output(), &view_->captureVideoDataOutput());
    EXPECT_EQ(view_->captureVideoDataOutput().videoSettings().pixelFormat, PixelFormat::bgra32);
    EXPECT_EQ(view_->captureVideoDataOutput().sampleBufferDelegate(), view_.get());
    EXPECT_EQ(view_->captureVideoDataOutput().sampleBufferCallbackQueue(), &view_->captureQueue());
    EXPECT_EQ(view_->captureQueue().label(), "kt.captureQueue");
    EXPECT_FALSE(session().isRunning());
    EXPECT_EQ(view_->captureDevice(), nullptr);
    EXPECT_EQ(view_->videoCaptureDeviceInput(), nullptr);
    EXPECT_EQ(view_->deviceUniqueID(), "");
    EXPECT_EQ(view_->geometry(), frame);
}

TEST_F(KTDisplayViewTest, RendererFillsTheViewAtAnySize) {
    view_->show();
    EXPECT_EQ(view_->mtkView()->geometry(), QRect(0, 0, 536, 301));
    view_->resize(320, 200);
    EXPECT_EQ(view_->mtkView()->geometry(), QRect(0, 0, 320, 200));
}

// Showing

TEST_F(KTDisplayViewTest, ShownDeviceIsAttachedAndStarted) {
    show(first_);
    EXPECT_TRUE(session().isRunning());
    EXPECT_EQ(view_->captureDevice(), first_);
    EXPECT_EQ(view_->videoCaptureDeviceInput().get(), session().input());
    EXPECT_EQ(view_->deviceUniqueID(), "0x1420000005ac8514");
}

TEST_F(KTDisplayViewTest, TheFirstFrameIsMadeAsTheRendererWantsIt) {
    view_->mtkView()->setNeedsWholePictures(true);
    show(first_);
    EXPECT_TRUE(view_->captureVideoDataOutput().demand().whole);
}

TEST_F(KTDisplayViewTest, SessionStartsOnTheCaptureQueueWithoutBlocking) {
    std::promise<void> busy;
    view_->captureQueue().async([wait = busy.get_future().share()] { wait.wait(); });
    view_->showDevice(first_);
    EXPECT_EQ(session().starts, 0);
    EXPECT_EQ(view_->deviceUniqueID(), "0x1420000005ac8514"); // already attached
    busy.set_value();
    settle();
    EXPECT_EQ(session().starts, 1);
}

TEST_F(KTDisplayViewTest, EmptyDeviceWhileACameraRunsLeavesTheSessionStoppedWithoutInput) {
    show(first_);
    deliver(makeTestPicture(64, 48));
    const auto last = corrected();
    show(nullptr);
    EXPECT_FALSE(session().isRunning());
    EXPECT_EQ(session().input(), nullptr);
    EXPECT_EQ(view_->videoCaptureDeviceInput(), nullptr);
    EXPECT_EQ(view_->captureDevice(), nullptr);
    EXPECT_EQ(view_->deviceUniqueID(), "0x1420000005ac8514");
    EXPECT_EQ(corrected(), last); // the last picture remains
}

TEST_F(KTDisplayViewTest, EmptyDeviceWhileNoneIsShownDoesNothing) {
    show(nullptr);
    EXPECT_THAT(session().takeLog(), IsEmpty());
}

TEST_F(KTDisplayViewTest, DeviceAlreadyShownIsStoppedAddedAgainAndRestarted) {
    show(first_);
    session().takeLog();
    show(first_);
    EXPECT_THAT(session().takeLog(),
                ElementsAre("stop", "remove 0x1420000005ac8514", "add 0x1420000005ac8514", "start"));
}

TEST_F(KTDisplayViewTest, OtherDeviceReplacesTheFirst) {
    show(first_);
    session().takeLog();
    show(second_);
    EXPECT_THAT(session().takeLog(),
                ElementsAre("stop", "remove 0x1420000005ac8514", "add 0x14300000046d0825", "start"));
    EXPECT_EQ(view_->deviceUniqueID(), "0x14300000046d0825");
    EXPECT_EQ(view_->captureDevice(), second_);
    show(nullptr);
    EXPECT_EQ(view_->captureDevice(), nullptr);
}

TEST_F(KTDisplayViewTest, DeviceWhoseInputTheSessionRejectsLeavesThePreviewStoppedAndTheIdentifierUnchanged) {
    show(first_);
    show(nullptr);
    session().acceptsInput = false;
    show(second_);
    EXPECT_FALSE(session().isRunning());
    EXPECT_EQ(session().input(), nullptr);
    EXPECT_EQ(view_->deviceUniqueID(), "0x1420000005ac8514");
    EXPECT_EQ(view_->captureDevice(), second_);
}

TEST_F(KTDisplayViewTest, DeviceThatCannotBeOpenedLeavesThePreviewStoppedAndTheIdentifierUnchanged) {
    show(first_);
    second_->refuses = true;
    show(second_);
    EXPECT_FALSE(session().isRunning());
    EXPECT_EQ(view_->videoCaptureDeviceInput(), nullptr);
    EXPECT_EQ(view_->deviceUniqueID(), "0x1420000005ac8514");
    EXPECT_EQ(view_->captureDevice(), second_);
}

TEST_F(KTDisplayViewTest, ViewRecoversFromARejectedInput) {
    session().acceptsInput = false;
    show(second_);
    session().acceptsInput = true;
    show(first_);
    EXPECT_TRUE(session().isRunning());
    EXPECT_EQ(view_->deviceUniqueID(), "0x1420000005ac8514");
}

// Stopping

TEST_F(KTDisplayViewTest, StopRightAfterShowLeavesTheSessionStopped) {
    view_->showDevice(first_);
    view_->stopRunning();
    settle();
    EXPECT_FALSE(session().isRunning());
    EXPECT_EQ(session().input(), nullptr);
    EXPECT_EQ(view_->videoCaptureDeviceInput(), nullptr);
    EXPECT_EQ(view_->captureDevice(), nullptr);
    EXPECT_EQ(view_->deviceUniqueID(), "0x1420000005ac8514");
    EXPECT_THAT(session().takeLog(),
                ElementsAre("add 0x1420000005ac8514", "start", "stop", "remove 0x1420000005ac8514"));
}

TEST_F(KTDisplayViewTest, PreviewIsBlackAfterAStopUntilFramesArriveAgain) {
    show(first_);
    deliver(makeTestPicture(64, 48));
    EXPECT_THAT(corrected(), ::testing::Contains(255));
    view_->stopRunning();
    session().deliver(makeTestPicture(64, 48), {}); // queued behind the stop
    settle();
    EXPECT_THAT(corrected(), Each(0));
    show(first_);
    EXPECT_THAT(corrected(), Each(0));
    deliver(makeTestPicture(64, 48));
    EXPECT_THAT(corrected(), ::testing::Contains(255));
}

TEST_F(KTDisplayViewTest, CameraShownWhileAStopWaitsStays) {
    show(first_);
    std::promise<void> busy;
    view_->captureQueue().async([wait = busy.get_future().share()] { wait.wait(); });
    view_->stopRunning();
    view_->showDevice(second_);
    busy.set_value();
    settle();
    EXPECT_TRUE(session().isRunning());
    EXPECT_EQ(view_->captureDevice(), second_);
    EXPECT_EQ(view_->videoCaptureDeviceInput().get(), session().input());
    EXPECT_NE(session().input(), nullptr);
}

TEST_F(KTDisplayViewTest, SameCameraShownAgainWhileAStopWaitsStays) {
    show(first_);
    std::promise<void> busy;
    view_->captureQueue().async([wait = busy.get_future().share()] { wait.wait(); });
    view_->stopRunning();
    view_->showDevice(first_);
    busy.set_value();
    settle();
    EXPECT_TRUE(session().isRunning());
    EXPECT_EQ(view_->captureDevice(), first_);
}

TEST_F(KTDisplayViewTest, StopWithoutACameraBlanksThePreview) {
    show(first_);
    deliver(makeTestPicture(64, 48));
    show(nullptr);
    view_->stopRunning();
    settle();
    EXPECT_THAT(corrected(), Each(0));
    EXPECT_FALSE(session().isRunning());
}

// Frames

TEST_F(KTDisplayViewTest, FramesReachTheRendererWithTheirTime) {
    show(first_);
    deliver(makeTestPicture(64, 48), 7ms);
    EXPECT_EQ(view_->mtkView()->presentationTime(), MediaTime::fromNanoseconds(7ms));
    EXPECT_EQ(view_->mtkView()->drawnFrames(), 1U);
}

TEST_F(KTDisplayViewTest, FramesOfAnotherOutputAreIgnored) {
    CaptureVideoDataOutput other;
    view_->captureOutputDidOutputSampleBufferFromConnection(other, {makeTestPicture(64, 48), {}}, {});
    settle();
    EXPECT_EQ(view_->mtkView()->pixelBuffer(), nullptr);
}

TEST_F(KTDisplayViewTest, DroppedFramesAreIgnored) {
    view_->captureOutputDidDropSampleBufferFromConnection(view_->captureVideoDataOutput(),
                                                          {makeTestPicture(64, 48), {}}, {});
    settle();
    EXPECT_EQ(view_->mtkView()->pixelBuffer(), nullptr);
}

TEST_F(KTDisplayViewTest, MirrorTurnsThePicture) {
    show(first_);
    const auto picture = makeTestPicture(64, 48);
    view_->mtkView()->setShouldFlipHorizontal(true);
    deliver(picture);
    const auto mirrored = view_->mtkView()->correctPixelBuffer();
    const auto* upright = reinterpret_cast<const std::uint32_t*>(picture->baseAddress());
    const auto* flipped = reinterpret_cast<const std::uint32_t*>(mirrored->baseAddress());
    for (std::size_t x = 0; x < 64; ++x)
        ASSERT_EQ(flipped[x], upright[63 - x]);
}

} // namespace
} // namespace tavelo::testing
