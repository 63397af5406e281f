// SPDX-License-Identifier: MIT
#include "platform/common/standard_capture_session.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <thread>

#include "fake_input.h"

namespace tavelo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class StandardCaptureSession : public testing::Test {
protected:
    StandardCaptureSession() {
        output.setVideoSettings({PixelFormat::bgra32});
        output.setSampleBufferDelegate(&delegate, &queue);
        session->addOutput(output);
    }

    void run() {
        session->addInput(input);
        session->startRunning();
    }

    FakeDelegate delegate;
    SerialQueue queue{"test.captureQueue"};
    CaptureVideoDataOutput output;
    FakeInput input;
    std::unique_ptr<CaptureSession> session = makeStandardCaptureSession();
};

TEST_F(StandardCaptureSession, TakesOneOutputOnly) {
    const CaptureVideoDataOutput second;
    EXPECT_FALSE(session->canAddOutput(second));
    EXPECT_TRUE(makeStandardCaptureSession()->canAddOutput(second));
}

TEST_F(StandardCaptureSession, RejectsAnOutputThatWantsAnotherPixelFormat) {
    CaptureVideoDataOutput planar;
    planar.setVideoSettings({PixelFormat::nv12});
    EXPECT_FALSE(makeStandardCaptureSession()->canAddOutput(planar));
}

TEST_F(StandardCaptureSession, RejectsASecondInputAndKeepsTheFirst) {
    run();
    FakeInput second;
    EXPECT_FALSE(session->canAddInput(second));
    session->addInput(second);
    session->removeInput(second);
    EXPECT_TRUE(session->isRunning());
    EXPECT_EQ(second.starts, 0);
}

TEST_F(StandardCaptureSession, DoesNotStartWithoutAnInput) {
    session->startRunning();
    EXPECT_FALSE(session->isRunning());
}

TEST_F(StandardCaptureSession, DeliversOnTheQueueAlongTheConnection) {
    bool onQueue = false;
    delegate.whileHandling = [&] { onQueue = queue.isCurrent(); };
    run();
    EXPECT_TRUE(input.feed(1));
    queue.sync([] {});
    EXPECT_TRUE(onQueue);
    EXPECT_THAT(delegate.outputs, ElementsAre(1));
    EXPECT_EQ(delegate.lastOutput, &output);
    EXPECT_EQ(delegate.lastConnection.input, &input);
    EXPECT_EQ(delegate.lastConnection.output, &output);
}

TEST_F(StandardCaptureSession, TheInputHearsWhatIsWantedOfTheNextFrame) {
    run();
    EXPECT_EQ(input.demand(), (PictureDemand{true, 0, 0}));
    output.setDemand({false, 536, 301});
    EXPECT_EQ(input.demand(), (PictureDemand{false, 536, 301}));
}

TEST_F(StandardCaptureSession, StartingAndStoppingTwiceReachesTheInputOnce) {
    run();
    session->startRunning();
    session->stopRunning();
    session->stopRunning();
    EXPECT_EQ(input.starts, 1);
    EXPECT_EQ(input.stops, 1);
}

TEST_F(StandardCaptureSession, RemovingTheInputStopsFirst) {
    run();
    session->removeInput(input);
    EXPECT_FALSE(session->isRunning());
    EXPECT_EQ(input.stops, 1);
    EXPECT_FALSE(input.feed(1));
    session->startRunning();
    EXPECT_FALSE(session->isRunning());
}

TEST_F(StandardCaptureSession, DestructionStopsTheInput) {
    run();
    session.reset();
    EXPECT_EQ(input.stops, 1);
}

TEST_F(StandardCaptureSession, DropsFramesWhileOneWaitsAndTellsTheirTimesAfterwards) {
    Gate gate;
    run();
    queue.async([&] { gate.wait(); });
    const auto picture = PixelBuffer::create(PixelFormat::bgra32, 2, 2);
    for (int time = 1; time <= 4; ++time)
        input.feed(time, picture);
    EXPECT_EQ(picture.use_count(), 2) << "only the waiting sample may hold its picture";
    gate.open();
    queue.sync([] {});
    EXPECT_THAT(delegate.outputs, ElementsAre(1));
    EXPECT_THAT(delegate.drops, ElementsAre(2, 3, 4));
    EXPECT_FALSE(delegate.droppedPicture);
    EXPECT_EQ(picture.use_count(), 1);
}

TEST_F(StandardCaptureSession, DropsFramesWhileTheDelegateIsBusy) {
    Gate entered;
    Gate leave;
    delegate.whileHandling = [&] {
        entered.open();
        leave.wait();
    };
    run();
    input.feed(1);
    entered.wait();
    input.feed(2);
    leave.open();
    queue.sync([] {});
    input.feed(3);
    queue.sync([] {});
    EXPECT_THAT(delegate.outputs, ElementsAre(1, 3));
    EXPECT_THAT(delegate.drops, ElementsAre(2));
}

TEST_F(StandardCaptureSession, TellsADelegateThatHangsOfTheFirstDropsOnly) {
    Gate gate;
    run();
    queue.async([&] { gate.wait(); });
    for (int time = 0; time <= 1000; ++time)
        input.feed(time);
    gate.open();
    queue.sync([] {});
    ASSERT_EQ(delegate.drops.size(), 64U);
    EXPECT_EQ(delegate.drops.front(), 1);
    EXPECT_EQ(delegate.drops.back(), 64);
}

TEST_F(StandardCaptureSession, NoDeliveryBeginsAfterStopThoughOneWaited) {
    Gate gate;
    run();
    queue.async([&] { gate.wait(); });
    input.feed(1);
    input.feed(2);
    session->stopRunning();
    gate.open();
    queue.sync([] {});
    EXPECT_THAT(delegate.outputs, IsEmpty());
    EXPECT_THAT(delegate.drops, IsEmpty());
}

TEST_F(StandardCaptureSession, ARestartBehindABusyQueueDeliversTheNewRunsFrameOnce) {
    Gate gate;
    run();
    queue.async([&] { gate.wait(); });
    input.feed(1);
    session->stopRunning();
    session->startRunning();
    input.feed(2);
    gate.open();
    queue.sync([] {});
    EXPECT_THAT(delegate.outputs, ElementsAre(2));
    EXPECT_THAT(delegate.drops, IsEmpty());
}

TEST_F(StandardCaptureSession, StopDoesNotWaitForTheDelegate) {
    Gate entered;
    Gate stopped;
    delegate.whileHandling = [&] {
        entered.open();
        stopped.wait();
    };
    run();
    input.feed(1);
    entered.wait();
    session->stopRunning(); // would deadlock if it waited for the delivery
    stopped.open();
    queue.sync([] {});
    EXPECT_FALSE(session->isRunning());
}

TEST_F(StandardCaptureSession, TheDelegateMayStopTheSession) {
    delegate.whileHandling = [&] { session->stopRunning(); };
    run();
    input.feed(1);
    queue.sync([] {});
    EXPECT_FALSE(session->isRunning());
    EXPECT_EQ(input.stops, 1);
}

TEST_F(StandardCaptureSession, AStopQueuedBehindAStartLeavesTheSessionStopped) {
    session->addInput(input);
    queue.async([&] { session->startRunning(); });
    queue.async([&] { session->stopRunning(); });
    queue.sync([] {});
    EXPECT_FALSE(session->isRunning());
}

TEST_F(StandardCaptureSession, MayDieWhileADeliveryStillWaits) {
    Gate gate;
    run();
    queue.async([&] { gate.wait(); });
    input.feed(1);
    session.reset();
    gate.open();
    queue.sync([] {});
    EXPECT_THAT(delegate.outputs, IsEmpty());
}

TEST_F(StandardCaptureSession, SurvivesStartsStopsAndFramesFromManyThreads) {
    session->addInput(input);
    std::atomic<bool> done = false;
    std::thread camera([&] {
        for (std::int64_t time = 0; !done; ++time) {
            input.feed(time);
            std::this_thread::yield();
        }
    });
    std::thread other([&] {
        for (int i = 0; i < 300; ++i) {
            queue.async([&] { session->startRunning(); });
            queue.sync([&] { session->stopRunning(); });
        }
    });
    for (int i = 0; i < 300; ++i) {
        session->startRunning();
        session->removeInput(input);
        session->addInput(input);
    }
    other.join();
    session->stopRunning();
    done = true;
    camera.join();
    queue.sync([] {});
    EXPECT_EQ(input.starts, input.stops);
    EXPECT_TRUE(std::ranges::is_sorted(delegate.outputs));
}

} // namespace
} // namespace tavelo
