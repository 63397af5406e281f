// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/capture_input.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <limits>
#include <random>

#include "fake_camera.h"
#include "support/recorded_diagnostics.h"
#include "support/recorded_frames.h"
#include "support/recorded_priorities.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Long where a timeout must not happen in a test, short where a test waits for it.
constexpr StreamPatience patient{60s, 60s, 1ms, 1ms, 5ms, 1ms, 4ms};
constexpr StreamPatience impatient{30ms, 30ms, 1ms, 1ms, 5ms, 1ms, 4ms};

const Bytes wholeFrame(1024, 0x80);

class KernelCaptureInputTest : public ::testing::Test {
protected:
    KernelCaptureInput& start(const StreamPatience& patience = patient,
                              const CaptureFormatRequest& request = {}) {
        input = std::make_unique<KernelCaptureInput>(
            nullptr, "/dev/fake", std::shared_ptr<V4l2NodeOpener>(std::shared_ptr<void>(), &camera),
            CaptureInputOptions{.diagnostics = diagnostics,
                                .whoHolds = [] { return "busy: in use by cheese, process 20"; },
                                .request = request,
                                .patience = patience,
                                .isListed = [this] { return ++listedAsked <= listedTimes; },
                                .priority = priorities});
        input->start(sink);
        return *input;
    }

    // All resources are released.
    void expectTidy() {
        const auto counts = camera.counts();
        EXPECT_EQ(counts.opened, counts.closed);
        EXPECT_EQ(counts.streamOn, counts.streamOff);
        EXPECT_EQ(counts.mapped, 0);
        EXPECT_EQ(counts.buffers, 0);
    }

    FakeCamera camera;
    // How often the node is found to be listed, if it is asked for.
    std::atomic<int> listedTimes = std::numeric_limits<int>::max();
    std::atomic<int> listedAsked = 0;
    const std::shared_ptr<testing::RecordedPriorities> priorities =
        std::make_shared<testing::RecordedPriorities>();
    testing::RecordedDiagnostics diagnostics;
    testing::RecordedFrames sink;
    std::unique_ptr<KernelCaptureInput> input;
};

TEST_F(KernelCaptureInputTest, DeliversPicturesWithTheDriversTime) {
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    const auto before = std::chrono::steady_clock::now().time_since_epoch();
    ASSERT_TRUE(camera.deliver(wholeFrame));
    ASSERT_TRUE(sink.waitForFrames(1));
    const SampleBuffer sample = sink.last();
    ASSERT_TRUE(sample.imageBuffer);
    EXPECT_EQ(sample.imageBuffer->width(), 32U);
    EXPECT_EQ(sample.imageBuffer->height(), 16U);
    const std::chrono::nanoseconds time(sample.presentationTimeStamp.value);
    EXPECT_EQ(time.count() % 1000, 0) << "a driver's stamp counts microseconds";
    EXPECT_LT(std::chrono::abs(time - before), 1s);
    input->stop();
    expectTidy();
}

TEST_F(KernelCaptureInputTest, AsksForAHigherPriorityOfItsThread) {
    start();
    EXPECT_TRUE(priorities->waitFor("v4l2 capture"));
}

TEST_F(KernelCaptureInputTest, SetsTheChosenFormatAndRate) {
    camera.offer({{fourcc::yuyv, {64, 48}, {{{1, 30}, {1, 30}}, {{1, 15}, {1, 15}}}},
                  {fourcc::yuyv, {32, 16}, {{{1, 30}, {1, 30}}}}});
    start(patient, {{}, 15.0, {}});
    ASSERT_TRUE(camera.waitForStreamOn(1));
    EXPECT_EQ(camera.format().width, 64U);
    EXPECT_EQ(camera.format().pixelformat, fourcc::yuyv);
    EXPECT_EQ(camera.interval().denominator, 15U);
}

TEST_F(KernelCaptureInputTest, GivesBuffersBackSoThatTheStreamGoesOn) {
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    for (std::size_t count = 1; count <= 40; ++count) {
        ASSERT_TRUE(camera.deliver(wholeFrame));
        ASSERT_TRUE(sink.waitForFrames(count));
    }
    EXPECT_TRUE(std::ranges::is_sorted(sink.times()));
}

TEST_F(KernelCaptureInputTest, DropsDamagedShortAndEmptyFrames) {
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    ASSERT_TRUE(camera.deliver(wholeFrame, V4L2_BUF_FLAG_ERROR));
    ASSERT_TRUE(camera.deliver(Bytes(wholeFrame.size() - 1)));
    ASSERT_TRUE(camera.deliver({}));
    ASSERT_TRUE(camera.deliver(wholeFrame));
    ASSERT_TRUE(sink.waitForFrames(1));
    input->stop();
    EXPECT_EQ(sink.count(), 1U);
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(KernelCaptureInputTest, SaysOnceThatEveryFrameIsDamaged) {
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    for (int i = 0; i < 100; ++i)
        while (!camera.deliver(wholeFrame, V4L2_BUF_FLAG_ERROR))
            std::this_thread::yield();
    while (!camera.deliver(wholeFrame))
        std::this_thread::yield();
    ASSERT_TRUE(sink.waitForFrames(1));
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("damaged")));
}

TEST_F(KernelCaptureInputTest, ReplacesAStampOfAnotherTime) {
    camera.stamp({12, 0});
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    for (std::size_t count = 1; count <= 2; ++count) {
        ASSERT_TRUE(camera.deliver(wholeFrame));
        ASSERT_TRUE(sink.waitForFrames(count));
    }
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    EXPECT_LT(std::chrono::abs(now - std::chrono::nanoseconds(sink.times().front())), 5s);
    EXPECT_LT(sink.times()[0], sink.times()[1]);
}

// Each picture encodes its number in its brightness; two more arrive while one is processed.
class SlowSink final : public FrameSink {
public:
    static constexpr int framesPerPicture = 2;
    static constexpr int pictures = 100;
    static constexpr int shades = 8;

    explicit SlowSink(FakeCamera& camera) : camera_(camera) {}

    void deliverFirst() {
        const std::lock_guard lock(mutex_);
        deliverNext();
    }

    void consume(const SampleBuffer& sample) override {
        const int shade = (pixelOf(*sample.imageBuffer, 0, 0).green + 14) / 28;
        const std::lock_guard lock(mutex_);
        if (int(ages_.size()) == pictures) return;
        for (int i = 0; i < framesPerPicture; ++i)
            deliverNext();
        ages_.push_back((delivered_ - 1 - shade + shades) % shades);
        changed_.notify_all();
    }

    std::vector<int> waitForAges() {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, 10s, [this] { return int(ages_.size()) == pictures; });
        return ages_;
    }

private:
    void deliverNext() {
        Bytes frame(wholeFrame.size(), 0x80);
        for (std::size_t i = 0; i < frame.size(); i += 2)
            frame[i] = std::uint8_t(16 + delivered_ % shades * 24);
        if (camera_.deliver(frame)) ++delivered_;
    }

    FakeCamera& camera_;
    std::mutex mutex_; // guards the rest
    int delivered_ = 0;
    std::condition_variable changed_;
    std::vector<int> ages_;
};

TEST_F(KernelCaptureInputTest, ASlowReceiverGetsTheNewestFrameAndNotTheOldest) {
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    input->stop();
    SlowSink slow(camera);
    input->start(slow);
    ASSERT_TRUE(camera.waitForStreamOn(2));
    slow.deliverFirst();
    const std::vector<int> ages = slow.waitForAges();
    ASSERT_EQ(ages.size(), std::size_t(SlowSink::pictures));
    EXPECT_LE(*std::ranges::max_element(ages), SlowSink::framesPerPicture) << "in frames, after the decoding";
    input->stop();
    expectTidy();
}

TEST_F(KernelCaptureInputTest, ADamagedFrameHidesNoWholeOneThatWaitedBeforeIt) {
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    sink.hold(true);
    ASSERT_TRUE(camera.deliver(wholeFrame));
    ASSERT_TRUE(sink.waitForHeld());
    ASSERT_TRUE(camera.deliver(wholeFrame));
    ASSERT_TRUE(camera.deliver(wholeFrame, V4L2_BUF_FLAG_ERROR));
    sink.hold(false);
    EXPECT_TRUE(sink.waitForFrames(2));
}

TEST_F(KernelCaptureInputTest, PicturesLargerThanAnyAreNeverAskedFor) {
    camera.offer({{fourcc::yuyv, {65535, 65535}, {{{1, 30}, {1, 30}}}}});
    start();
    ASSERT_TRUE(diagnostics.waitForLines(1));
    EXPECT_THAT(diagnostics.lines().front(), HasSubstr("Protocol not supported"));
    EXPECT_EQ(camera.counts().streamOn, 0);
    EXPECT_EQ(camera.format().width, 0U) << "no format was set";
}

struct Lie {
    const char* name;
    FakeCamera::Lies lies;
};

class KernelCaptureInputLieTest : public KernelCaptureInputTest, public ::testing::WithParamInterface<Lie> {};

TEST_P(KernelCaptureInputLieTest, GivesWayToTheNextFormatBeforeMemoryIsMapped) {
    camera.offer(
        {{fourcc::yuyv, {64, 48}, {{{1, 30}, {1, 30}}}}, {fourcc::mjpeg, {64, 48}, {{{1, 30}, {1, 30}}}}});
    FakeCamera::Lies lies = GetParam().lies;
    lies.onlyOf = fourcc::yuyv;
    camera.lie(lies);
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    EXPECT_EQ(camera.format().pixelformat, fourcc::mjpeg);
    EXPECT_EQ(camera.counts().mostMapped, 4) << "of the format that streams";
    input->stop();
    expectTidy();
}

TEST_P(KernelCaptureInputLieTest, IsALineIfThereIsNoOtherFormat) {
    camera.lie(GetParam().lies);
    start();
    ASSERT_TRUE(diagnostics.waitForLines(1));
    EXPECT_THAT(diagnostics.lines().front(), HasSubstr("too large"));
    input->stop();
    expectTidy();
}

constexpr std::uint32_t lots = 0xFFFF'F000;

INSTANTIATE_TEST_SUITE_P(Sizes, KernelCaptureInputLieTest,
                         ::testing::Values(Lie{"sizeimage", {.imageBytes = lots}},
                                           Lie{"width", {.width = 65535}},
                                           Lie{"bytesperline", {.bytesPerLine = lots}},
                                           Lie{"bufferLength", {.bufferBytes = lots}}),
                         [](const auto& each) { return each.param.name; });

TEST_F(KernelCaptureInputTest, TakesNoMoreBuffersThanAreOfUse) {
    camera.lie({.bufferCount = 100});
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    EXPECT_EQ(camera.counts().mostMapped, 32);
    ASSERT_TRUE(camera.deliver(wholeFrame));
    EXPECT_TRUE(sink.waitForFrames(1));
}

TEST_F(KernelCaptureInputTest, MemoryThatRunsOutEndsARunAndNotTheProgram) {
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    input->stop();
    testing::ExhaustedSink exhausted;
    input->start(exhausted);
    ASSERT_TRUE(camera.waitForStreamOn(2));
    ASSERT_TRUE(camera.deliver(wholeFrame));
    ASSERT_TRUE(diagnostics.waitForLines(1));
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("Cannot allocate memory")));
    input->stop();
    expectTidy();
}

TEST_F(KernelCaptureInputTest, ACameraThatVanishesWhileItStreamsEndsTheInputQuietly) {
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    ASSERT_TRUE(camera.deliver(wholeFrame));
    ASSERT_TRUE(sink.waitForFrames(1));
    const int before = camera.counts().requests;
    listedTimes = 0;
    camera.vanish();
    ASSERT_TRUE(camera.waitForClosed(1));
    input->stop();
    EXPECT_EQ(camera.counts().opened, 1) << "it is not reopened";
    EXPECT_LE(camera.counts().requests - before, 6) << "no busy loop";
    EXPECT_EQ(camera.counts().mapped, 0);
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(KernelCaptureInputTest, ACameraThatIsGoneBeforeTheStartEndsTheInputQuietly) {
    listedTimes = 0;
    camera.vanish();
    start();
    ASSERT_TRUE(camera.waitForOpened(1));
    input->stop();
    EXPECT_EQ(camera.counts().opened, 1);
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(KernelCaptureInputTest, ACameraThatIsUnpluggedWhileItsStreamStartsEndsTheInputQuietly) {
    listedTimes = 0;
    camera.failNext(VIDIOC_STREAMON, ETIMEDOUT);
    start();
    ASSERT_TRUE(camera.waitForClosed(1));
    input->stop();
    EXPECT_EQ(camera.counts().opened, 1);
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
    expectTidy();
}

TEST_F(KernelCaptureInputTest, ANodeThatIsListedBeforeItCanBeOpenedIsTriedAgain) {
    for (const int error : {ENODEV, ENXIO})
        camera.failNext(0, error);
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    ASSERT_TRUE(camera.deliver(wholeFrame));
    EXPECT_TRUE(sink.waitForFrames(1));
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(KernelCaptureInputTest, ANodeThatStaysAfterItsStreamWasTakenAwayIsTriedAgain) {
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    ASSERT_TRUE(camera.deliver(wholeFrame));
    ASSERT_TRUE(sink.waitForFrames(1));
    camera.failNext(VIDIOC_QBUF, ENODEV,
                    4); // the driver's answer if it has lost the streaming interface
    camera.deliver(wholeFrame);
    ASSERT_TRUE(diagnostics.waitForLines(1));
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("lost the camera")));
    ASSERT_TRUE(camera.waitForStreamOn(2));
    const std::size_t before = sink.count();
    ASSERT_TRUE(camera.deliver(wholeFrame));
    EXPECT_TRUE(sink.waitForFrames(before + 1));
}

TEST_F(KernelCaptureInputTest, ANodeWhoseNameAnotherCameraHasIsLeftAlone) {
    listedTimes = 1;
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    camera.failNext(VIDIOC_DQBUF, ENODEV);
    ASSERT_TRUE(camera.deliver(wholeFrame));
    while (listedAsked < 2)
        std::this_thread::yield();
    input->stop();
    EXPECT_EQ(camera.counts().opened, 1);
}

TEST_F(KernelCaptureInputTest, ABrokenQueueIsOpenedAgain) {
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    camera.breakQueue();
    ASSERT_TRUE(camera.waitForStreamOn(2));
    ASSERT_TRUE(camera.deliver(wholeFrame));
    EXPECT_TRUE(sink.waitForFrames(1));
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("Input/output error")));
}

TEST_F(KernelCaptureInputTest, ANodeThatHangsUpWithoutAReasonIsOpenedAgain) {
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    camera.hangUp();
    ASSERT_TRUE(camera.waitForStreamOn(2)) << "it would be asked for its frame without end";
    ASSERT_TRUE(camera.deliver(wholeFrame));
    EXPECT_TRUE(sink.waitForFrames(1));
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("Input/output error")));
}

TEST_F(KernelCaptureInputTest, AStreamThatFallsSilentIsRestartedAndSaysSoOnce) {
    start(impatient);
    ASSERT_TRUE(camera.waitForStreamOn(1));
    ASSERT_TRUE(camera.deliver(wholeFrame));
    ASSERT_TRUE(sink.waitForFrames(1));
    ASSERT_TRUE(camera.waitForStreamOn(4));
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("no frame came")));
    while (!camera.deliver(wholeFrame)) // between two runs it does not stream
        std::this_thread::yield();
    EXPECT_TRUE(sink.waitForFrames(2));
    input->stop();
    expectTidy();
}

TEST_F(KernelCaptureInputTest, FramesThatAreAllDamagedCountAsSilence) {
    start(impatient);
    ASSERT_TRUE(camera.waitForStreamOn(1));
    while (camera.counts().streamOn < 2) {
        camera.deliver(wholeFrame, V4L2_BUF_FLAG_ERROR);
        std::this_thread::yield();
    }
    EXPECT_THAT(sink.times(), IsEmpty());
}

TEST_F(KernelCaptureInputTest, WaitsForAnotherProgramWithOneLine) {
    for (const unsigned long request : {VIDIOC_S_FMT, VIDIOC_REQBUFS, VIDIOC_STREAMON})
        camera.failNext(request, EBUSY, 3);
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    ASSERT_TRUE(camera.deliver(wholeFrame));
    ASSERT_TRUE(sink.waitForFrames(1));
    EXPECT_EQ(camera.counts().opened, 10);
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("cheese, process 20; waiting for it")));
    EXPECT_EQ(input->trouble().code, ErrorCode::none) << "pictures come";
    input->stop();
    expectTidy();
}

TEST_F(KernelCaptureInputTest, ReportsWhyThereIsNoPicture) {
    camera.failNext(VIDIOC_S_FMT, EBUSY, 1'000'000);
    start();
    EXPECT_TRUE(diagnostics.waitForLines(1));
    EXPECT_EQ(input->trouble().code, ErrorCode::busy);
    EXPECT_EQ(input->trouble().text, "busy: in use by cheese, process 20");
    input->stop();
    input->start(sink);
    input->stop();
}

TEST_F(KernelCaptureInputTest, ReportsNoProblemWhilePicturesArrive) {
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    ASSERT_TRUE(camera.deliver(wholeFrame));
    ASSERT_TRUE(sink.waitForFrames(1));
    EXPECT_EQ(input->trouble().code, ErrorCode::none);
}

TEST_F(KernelCaptureInputTest, AFullBusGetsALighterFormat) {
    camera.offer({{fourcc::yuyv, {64, 48}, {{{1, 30}, {1, 30}}}},
                  {fourcc::uyvy, {64, 48}, {{{1, 30}, {1, 30}}}},
                  {fourcc::mjpeg, {64, 48}, {{{1, 30}, {1, 30}}}}});
    camera.failNext(VIDIOC_STREAMON, ENOSPC);
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    EXPECT_EQ(camera.format().pixelformat, fourcc::mjpeg) << "UYVY is as heavy as YUYV";
    ASSERT_TRUE(camera.deliver(noisyJpeg(64, 48)));
    EXPECT_TRUE(sink.waitForFrames(1));
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(KernelCaptureInputTest, ABusTooFullForAllIsTriedAgain) {
    camera.failNext(VIDIOC_STREAMON, ENOSPC, 3);
    start();
    EXPECT_TRUE(camera.waitForStreamOn(1));
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("no room")));
}

TEST_F(KernelCaptureInputTest, RightsThatComeLateAreWaitedFor) {
    camera.failNext(0, EACCES, 4);
    start();
    EXPECT_TRUE(camera.waitForStreamOn(1));
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(KernelCaptureInputTest, RightsThatNeverComeEndTheInputWithOneLine) {
    camera.failNext(0, EACCES, 1000);
    start();
    ASSERT_TRUE(diagnostics.waitForLines(1));
    input->stop();
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("permission")));
    EXPECT_EQ(camera.counts().opened, 6) << "5 ms of patience, a try each";
}

TEST_F(KernelCaptureInputTest, ACameraWithoutAFormatForUsSaysSo) {
    camera.offer({{makeFourcc('H', '2', '6', '4'), {64, 48}, {}}});
    start();
    ASSERT_TRUE(diagnostics.waitForLines(1));
    EXPECT_THAT(diagnostics.lines().front(), HasSubstr("Protocol not supported"));
}

TEST_F(KernelCaptureInputTest, MayBeStoppedAndStartedAgain) {
    start();
    for (int run = 1; run <= 5; ++run) {
        ASSERT_TRUE(camera.waitForStreamOn(run));
        ASSERT_TRUE(camera.deliver(wholeFrame));
        ASSERT_TRUE(sink.waitForFrames(std::size_t(run)));
        input->stop();
        input->stop();
        expectTidy();
        input->start(sink);
        input->start(sink);
    }
}

TEST_F(KernelCaptureInputTest, NoFrameComesAfterStop) {
    start();
    ASSERT_TRUE(camera.waitForStreamOn(1));
    camera.deliver(wholeFrame);
    camera.deliver(wholeFrame);
    input->stop();
    const auto count = sink.count();
    EXPECT_FALSE(camera.deliver(wholeFrame));
    EXPECT_EQ(sink.count(), count);
}

TEST_F(KernelCaptureInputTest, MayBeStoppedAtAnyMoment) {
    std::minstd_rand random(3);
    start(impatient);
    for (int round = 0; round < 150; ++round) {
        switch (random() % 5) {
            case 0:
                camera.failNext(VIDIOC_S_FMT, EBUSY, 2);
                break;
            case 1:
                camera.failNext(VIDIOC_DQBUF, EIO);
                break;
            case 2:
                camera.failNext(0, EACCES, 2);
                break;
            case 3:
                camera.failNext(VIDIOC_STREAMON, ENOSPC, 2);
                break;
            default:
                break;
        }
        for (auto i = random() % 40; i > 0; --i) {
            camera.deliver(wholeFrame, random() % 3 == 0 ? V4L2_BUF_FLAG_ERROR : 0);
            std::this_thread::yield();
        }
        input->stop();
        expectTidy();
        input->start(sink);
    }
    input.reset();
    expectTidy();
}

} // namespace
} // namespace tavelo
