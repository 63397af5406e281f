// SPDX-License-Identifier: MIT
#include "platform/linux/usb/capture_input.h"

#include <gmock/gmock.h>

#include <random>

#include "fake_usb_camera.h"
#include "platform/uvc/little_endian.h"
#include "platform/uvc/uvc_protocol.h"
#include "platform/virtual/firmware/virtual_camera_model.h"
#include "support/recorded_diagnostics.h"
#include "support/recorded_frames.h"
#include "support/recorded_priorities.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using test::FakeUsbCamera;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Bytes = FakeUsbCamera::Bytes;
using Counts = FakeUsbCamera::Counts;

// Long where a timeout must not happen in a test, short where a test waits for it.
constexpr StreamPatience patient{60s, 60s, 1ms, 1ms, 5ms, 1ms, 4ms};
constexpr StreamPatience impatient{50ms, 50ms, 1ms, 1ms, 5ms, 1ms, 4ms};

constexpr std::uint32_t fps30 = 333'333;
constexpr std::uint32_t fps15 = 666'666;
constexpr std::size_t wholeFrame = 1024;

constexpr std::uint8_t setCur = 0x01;
constexpr std::uint8_t getCur = 0x81;
constexpr std::uint8_t probe = 1;
constexpr std::uint8_t commit = 2;

VirtualCameraModel smallCamera() {
    VirtualCameraModel model = virtualCameraModel(1);
    model.offers = {{StreamEncoding::yuyv, 32, 16, {fps30, fps15}}};
    return model;
}

VirtualCameraModel wideCamera() {
    VirtualCameraModel model = virtualCameraModel(1);
    model.offers = {{StreamEncoding::yuyv, 640, 480, {fps30}}, {StreamEncoding::mjpeg, 640, 480, {fps30}}};
    return model;
}

// The packets of a frame in which every byte has this value.
class FrameMaker {
public:
    std::vector<Bytes> next(std::size_t size = wholeFrame, std::uint8_t flags = 0) {
        identifier_ ^= 1U;
        std::vector<Bytes> packets;
        for (std::size_t left = size; left > 0;) {
            const std::size_t piece = std::min<std::size_t>(left, 180);
            left -= piece;
            const auto end = std::uint8_t(left == 0 ? 0x02 : 0);
            Bytes packet{2, std::uint8_t(0x80 | identifier_ | end | flags)};
            packet.resize(2 + piece, 0x80);
            packets.push_back(std::move(packet));
        }
        return packets;
    }

private:
    std::uint8_t identifier_ = 0;
};

class UsbCaptureInputTest : public ::testing::Test {
protected:
    void use(const VirtualCameraModel& model) { camera = std::make_unique<FakeUsbCamera>(model); }

    std::unique_ptr<UsbCaptureInput> inputOf(FakeUsbCamera& source, const StreamPatience& patience,
                                             const CaptureFormatRequest& request = {}) {
        return std::make_unique<UsbCaptureInput>(
            nullptr,
            UsbStreamSource{[&](Error& error) { return source.open({}, error); },
                            source.firmware().model().streamingInterface(), source.configurationDescriptor()},
            CaptureInputOptions{.diagnostics = diagnostics,
                                .whoHolds = [] { return "busy: in use by another program"; },
                                .request = request,
                                .patience = patience,
                                .priority = priorities});
    }
    UsbCaptureInput& start(const StreamPatience& patience = patient,
                           const CaptureFormatRequest& request = {}) {
        input = inputOf(*camera, patience, request);
        input->start(frames);
        return *input;
    }
    bool waitForStream() {
        return camera->waitFor([](const Counts& counts) { return counts.underWay > 0; });
    }
    bool waitForAlternates(std::size_t count) {
        return camera->waitFor([&](const Counts& counts) { return counts.alternates.size() >= count; });
    }

    // All resources are released and the camera is switched off.
    void expectTidy() {
        const Counts counts = camera->counts();
        EXPECT_EQ(counts.opened, counts.closed);
        EXPECT_EQ(counts.transfers, 0);
        EXPECT_EQ(counts.underWay, 0);
        EXPECT_FALSE(camera->firmware().streaming());
    }

    std::unique_ptr<FakeUsbCamera> camera = std::make_unique<FakeUsbCamera>(smallCamera());
    const std::shared_ptr<testing::RecordedPriorities> priorities =
        std::make_shared<testing::RecordedPriorities>();
    testing::RecordedDiagnostics diagnostics;
    testing::RecordedFrames frames;
    FrameMaker maker;
    std::unique_ptr<UsbCaptureInput> input;
};

TEST_F(UsbCaptureInputTest, DeliversPicturesWithTheTimeOfTheirFirstBytes) {
    start();
    ASSERT_TRUE(waitForStream());
    const auto before = std::chrono::steady_clock::now().time_since_epoch();
    ASSERT_TRUE(camera->deliverSoon(maker.next()));
    ASSERT_TRUE(frames.waitForFrames(1));
    const auto after = std::chrono::steady_clock::now().time_since_epoch();
    const SampleBuffer sample = frames.last();
    ASSERT_TRUE(sample.imageBuffer);
    EXPECT_EQ(sample.imageBuffer->width(), 32U);
    EXPECT_EQ(sample.imageBuffer->height(), 16U);
    EXPECT_GE(sample.presentationTimeStamp.value, before.count());
    EXPECT_LE(sample.presentationTimeStamp.value, after.count());
    input->stop();
    expectTidy();
}

TEST_F(UsbCaptureInputTest, AsksForAHigherPriorityOfItsThreads) {
    start();
    EXPECT_TRUE(priorities->waitFor("usb capture"));
    EXPECT_TRUE(priorities->waitFor("usb events"));
}

TEST_F(UsbCaptureInputTest, AgreesOnTheChosenFormatAndRate) {
    start(patient, {{}, 15.0, {}});
    ASSERT_TRUE(waitForStream());
    const auto format = camera->firmware().committedFormat();
    ASSERT_TRUE(format);
    EXPECT_EQ(format->width, 32);
    EXPECT_EQ(format->frameInterval, fps15);
}

TEST_F(UsbCaptureInputTest, TakesNoMoreOfTheBusThanItNeedsAndGivesItBack) {
    use(wideCamera());
    start();
    ASSERT_TRUE(waitForStream());
    EXPECT_EQ(camera->firmware().alternateSetting(), 5) << "18 MB/s need 2431 bytes a microframe";
    input->stop();
    EXPECT_THAT(camera->counts().alternates, ElementsAre(0, 5, 0));
    start(patient, {{}, {}, "MJPG"});
    ASSERT_TRUE(camera->waitFor([](const Counts& counts) { return counts.alternates.size() >= 5; }));
    EXPECT_EQ(camera->counts().alternates[4], 2) << "a compressed stream needs less";
}

TEST_F(UsbCaptureInputTest, SubmitsTransfersAgainSoThatTheStreamGoesOn) {
    start();
    for (std::size_t count = 1; count <= 60; ++count) {
        ASSERT_TRUE(camera->deliverSoon(maker.next()));
        ASSERT_TRUE(frames.waitForFrames(count));
    }
    const auto times = frames.times();
    EXPECT_TRUE(std::ranges::is_sorted(times, std::less_equal<>())) << "each later than the one before";
}

TEST_F(UsbCaptureInputTest, JoinsAFrameOverTransfersAndTakesSeveralOfOne) {
    start();
    auto first = maker.next();
    const std::vector<Bytes> head(first.begin(), first.begin() + 2);
    std::vector<Bytes> rest(first.begin() + 2, first.end());
    for (const Bytes& packet : maker.next())
        rest.push_back(packet);
    ASSERT_TRUE(camera->deliverSoon(head));
    ASSERT_TRUE(camera->deliverSoon(rest));
    ASSERT_TRUE(frames.waitForFrames(1));
}

TEST_F(UsbCaptureInputTest, DropsDamagedAndShortFrames) {
    start();
    ASSERT_TRUE(camera->deliverSoon(maker.next(wholeFrame, 0x40)));
    ASSERT_TRUE(camera->deliverSoon(maker.next(wholeFrame - 1)));
    ASSERT_TRUE(camera->deliverSoon(maker.next(), ErrorCode::failed));
    ASSERT_TRUE(camera->deliverSoon(maker.next()));
    ASSERT_TRUE(frames.waitForFrames(1));
    input->stop();
    EXPECT_EQ(frames.count(), 1U);
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(UsbCaptureInputTest, ASlowReceiverHoldsUpNoTransferAndGetsTheNewestFrame) {
    start();
    frames.hold(true);
    ASSERT_TRUE(camera->deliverSoon(maker.next()));
    ASSERT_TRUE(frames.waitForHeld());
    for (int i = 1; i < 100; ++i)
        ASSERT_TRUE(camera->deliverSoon(maker.next()));
    const auto lastOne = std::chrono::steady_clock::now().time_since_epoch();
    ASSERT_TRUE(camera->deliverSoon(maker.next()));
    ASSERT_TRUE(camera->waitFor([](const Counts& counts) { return counts.submitted >= 16 + 101; }));
    frames.hold(false);
    ASSERT_TRUE(frames.waitForFrames(2));
    input->stop();
    EXPECT_EQ(frames.count(), 2U) << "the one held, and the newest";
    EXPECT_GE(frames.times().back(), lastOne.count());
}

TEST_F(UsbCaptureInputTest, ACameraPulledOutInTheMiddleOfAFrameEndsTheInputQuietly) {
    start();
    ASSERT_TRUE(camera->deliverSoon(maker.next()));
    ASSERT_TRUE(frames.waitForFrames(1));
    auto half = maker.next();
    half.resize(3);
    ASSERT_TRUE(camera->deliverSoon(half));
    camera->vanish();
    ASSERT_TRUE(camera->waitFor([](const Counts& counts) { return counts.closed == 1; }));
    const std::size_t requests = camera->requests().size();
    input->stop();
    EXPECT_EQ(camera->counts().opened, 1) << "nothing to come back to";
    EXPECT_EQ(camera->requests().size(), requests);
    EXPECT_EQ(frames.count(), 1U);
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
    expectTidy();
}

TEST_F(UsbCaptureInputTest, ACameraThatIsGoneBeforeTheStartEndsTheInputQuietly) {
    camera->vanish();
    start();
    ASSERT_TRUE(camera->waitFor([](const Counts& counts) { return counts.opened == 1; }));
    input->stop();
    EXPECT_EQ(camera->counts().opened, 1);
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(UsbCaptureInputTest, ACameraThatGoesDuringTheNegotiationEndsTheInputQuietly) {
    for (const auto& [code, selector] : {std::pair{setCur, probe}, {getCur, probe}, {setCur, commit}}) {
        use(smallCamera());
        camera->failRequest(code, selector, ErrorCode::gone);
        start();
        ASSERT_TRUE(camera->waitFor([](const Counts& counts) { return counts.closed == 1; }));
        input->stop();
        EXPECT_EQ(camera->counts().opened, 1);
        expectTidy();
    }
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(UsbCaptureInputTest, AStreamThatFallsSilentIsRestartedAndSaysSoOnce) {
    start(impatient);
    ASSERT_TRUE(camera->deliverSoon(maker.next()));
    ASSERT_TRUE(frames.waitForFrames(1));
    ASSERT_TRUE(waitForAlternates(9));
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("no frame came")));
    while (frames.count() < 2) // a delivery may fall between two runs
        ASSERT_TRUE(camera->deliverSoon(maker.next()));
    input->stop();
    EXPECT_EQ(camera->counts().opened, 1) << "it is not given back in between";
    EXPECT_THAT(camera->counts().alternates, ::testing::Contains(0).Times(::testing::Ge(4)));
    expectTidy();
}

TEST_F(UsbCaptureInputTest, FramesThatAreAllDamagedCountAsSilence) {
    StreamPatience halfASecond = impatient;
    halfASecond.firstFrame = 500ms;
    start(halfASecond);
    while (diagnostics.lines().empty())
        ASSERT_TRUE(camera->deliverSoon(maker.next(wholeFrame, 0x40)));
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("every frame was damaged")));
    EXPECT_EQ(frames.count(), 0U);
}

TEST_F(UsbCaptureInputTest, WaitsForAnotherProgramWithOneLine) {
    camera->fail("open", ErrorCode::busy, 5);
    start();
    ASSERT_TRUE(camera->deliverSoon(maker.next()));
    ASSERT_TRUE(frames.waitForFrames(1));
    EXPECT_EQ(camera->counts().opened, 6);
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("another program")));
    input->stop();
    expectTidy();
}

TEST_F(UsbCaptureInputTest, PermissionThatNeverComesEndsTheInputWithOneLine) {
    camera->fail("open", ErrorCode::denied, 1000);
    start();
    ASSERT_TRUE(diagnostics.waitForLines(1));
    input->stop();
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("permission")));
    EXPECT_EQ(camera->counts().opened, 6) << "5 ms of patience, a try each";
}

TEST_F(UsbCaptureInputTest, AFullBusGetsALighterFormat) {
    use(wideCamera());
    camera->fail("alternate 5", ErrorCode::failed, 1);
    start();
    ASSERT_TRUE(waitForStream());
    EXPECT_EQ(camera->firmware().committedFormat()->encoding, StreamEncoding::mjpeg);
    EXPECT_THAT(camera->counts().alternates, ElementsAre(0, 5, 0, 2));
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(UsbCaptureInputTest, ABusThatRefusesTheFirstTransferGetsALighterFormatToo) {
    use(wideCamera());
    camera->fail("submit", ErrorCode::failed, 1);
    start();
    ASSERT_TRUE(waitForStream());
    EXPECT_EQ(camera->firmware().committedFormat()->encoding, StreamEncoding::mjpeg);
}

TEST_F(UsbCaptureInputTest, APayloadThatNoSettingCarriesGetsALighterFormat) {
    use(wideCamera());
    camera->bend([](std::uint8_t, std::uint8_t, std::span<std::uint8_t> bytes) {
        if (bytes[2] == 1) bytes[23] = 0x10; // 4096 and more, for the first format
    });
    start();
    ASSERT_TRUE(waitForStream());
    EXPECT_EQ(camera->firmware().committedFormat()->encoding, StreamEncoding::mjpeg);
}

TEST_F(UsbCaptureInputTest, ABusTooFullForAllIsTriedAgain) {
    camera->fail("alternate 1", ErrorCode::failed, 3);
    start();
    EXPECT_TRUE(waitForStream());
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("no room")));
    EXPECT_EQ(camera->counts().opened, 1);
}

TEST_F(UsbCaptureInputTest, AFormatThatTheCameraRefusesGivesWayToTheNext) {
    for (const auto& [code, selector] : {std::pair{setCur, probe}, {getCur, probe}, {setCur, commit}}) {
        use(wideCamera());
        camera->failRequest(code, selector, ErrorCode::refused);
        start();
        ASSERT_TRUE(waitForStream());
        EXPECT_EQ(camera->firmware().committedFormat()->encoding, StreamEncoding::mjpeg);
        input.reset();
    }
}

TEST_F(UsbCaptureInputTest, ACameraThatBendsARequestStreamsWhatItSays) {
    use(wideCamera());
    camera->bend([](std::uint8_t, std::uint8_t, std::span<std::uint8_t> bytes) { bytes[2] = 2; });
    start();
    ASSERT_TRUE(waitForStream());
    EXPECT_EQ(camera->firmware().committedFormat()->encoding, StreamEncoding::mjpeg);
}

TEST_F(UsbCaptureInputTest, AFormatThatTheCameraWouldSlowDownGivesWayToAFasterOne) {
    constexpr std::uint32_t fps5 = 2'000'000;
    VirtualCameraModel model = wideCamera();
    model.offers[0].frameIntervals = {fps30, fps5};
    use(model);
    camera->bend([](std::uint8_t, std::uint8_t, std::span<std::uint8_t> bytes) {
        if (bytes[2] == 1) putLittleEndian(fps5, bytes.subspan(4, 4));
    });
    start();
    ASSERT_TRUE(waitForStream());
    EXPECT_EQ(camera->firmware().committedFormat()->encoding, StreamEncoding::mjpeg);
}

TEST_F(UsbCaptureInputTest, ACameraThatAnswersWithNumbersOfNothingStreamsWhatWasAsked) {
    camera->bend([](std::uint8_t, std::uint8_t, std::span<std::uint8_t> bytes) { bytes[2] = bytes[3] = 0; });
    start();
    ASSERT_TRUE(camera->deliverSoon(maker.next()));
    EXPECT_TRUE(frames.waitForFrames(1));
}

TEST_F(UsbCaptureInputTest, ALyingFrameSizeIsBounded) {
    camera->bend([](std::uint8_t, std::uint8_t, std::span<std::uint8_t> bytes) {
        std::ranges::fill(bytes.subspan(18, 4), std::uint8_t{0xFF});
    });
    start();
    ASSERT_TRUE(camera->deliverSoon(maker.next()));
    EXPECT_TRUE(frames.waitForFrames(1));
    ASSERT_TRUE(camera->deliverSoon(maker.next(2 * wholeFrame + 1)));
    ASSERT_TRUE(camera->deliverSoon(maker.next()));
    EXPECT_TRUE(frames.waitForFrames(2));
    input->stop();
    EXPECT_EQ(frames.count(), 2U) << "the one that was too long is not there";
}

TEST_F(UsbCaptureInputTest, PicturesLargerThanAnyAreNeverAskedFor) {
    VirtualCameraModel model = virtualCameraModel(1);
    model.offers = {{StreamEncoding::yuyv, 65535, 65535, {fps30}},
                    {StreamEncoding::mjpeg, 65535, 65535, {fps30}}};
    use(model);
    start();
    ASSERT_TRUE(diagnostics.waitForLines(1));
    EXPECT_THAT(diagnostics.lines().front(), HasSubstr("no format that we know"));
    EXPECT_EQ(camera->counts().transfers, 0);
}

TEST_F(UsbCaptureInputTest, ACameraThatBendsARequestToAnImpossiblePictureStreamsWhatWasAsked) {
    VirtualCameraModel model = virtualCameraModel(1);
    model.offers = {{StreamEncoding::yuyv, 32, 16, {fps30}}, {StreamEncoding::yuyv, 65535, 65535, {fps30}}};
    use(model);
    camera->bend([](std::uint8_t, std::uint8_t, std::span<std::uint8_t> bytes) { bytes[3] = 2; });
    start();
    ASSERT_TRUE(camera->deliverSoon(maker.next()));
    ASSERT_TRUE(frames.waitForFrames(1));
    EXPECT_EQ(frames.last().imageBuffer->width(), 32U);
}

TEST_F(UsbCaptureInputTest, MemoryThatRunsOutEndsARunAndNotTheProgram) {
    testing::ExhaustedSink exhausted;
    start();
    input->stop();
    input->start(exhausted);
    ASSERT_TRUE(camera->deliverSoon(maker.next()));
    ASSERT_TRUE(diagnostics.waitForLines(1));
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("no memory")));
    input->stop();
    expectTidy();
}

TEST_F(UsbCaptureInputTest, ACameraThatDoesNotAnswerIsTriedAgainWithOneLine) {
    camera->failRequest(setCur, probe, ErrorCode::timeout, 3);
    start();
    ASSERT_TRUE(waitForStream());
    EXPECT_EQ(camera->counts().opened, 4);
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("does not answer")));
}

TEST_F(UsbCaptureInputTest, ACameraWithoutAFormatForUsSaysSo) {
    VirtualCameraModel model = smallCamera();
    model.alterConfiguration = [](std::vector<std::uint8_t>& bytes) {
        const std::string_view code = "YUY2";
        *std::search(bytes.begin(), bytes.end(), code.begin(), code.end()) = 'Q';
    };
    use(model);
    start();
    ASSERT_TRUE(diagnostics.waitForLines(1));
    EXPECT_THAT(diagnostics.lines().front(), HasSubstr("no format"));
}

TEST_F(UsbCaptureInputTest, ABulkStreamIsSwitchedOffByClearingItsHalt) {
    VirtualCameraModel model = smallCamera();
    model.transport = StreamTransport::bulk;
    use(model);
    start();
    Bytes payload{2, 0x82};
    payload.resize(2 + wholeFrame, 0x80);
    ASSERT_TRUE(camera->deliverSoon({payload}));
    ASSERT_TRUE(frames.waitForFrames(1));
    EXPECT_TRUE(camera->firmware().streaming());
    input->stop();
    EXPECT_EQ(camera->counts().clearedHalts, 1);
    expectTidy();
}

TEST_F(UsbCaptureInputTest, AHaltedBulkEndpointIsStartedAgain) {
    VirtualCameraModel model = smallCamera();
    model.transport = StreamTransport::bulk;
    use(model);
    start();
    ASSERT_TRUE(camera->deliverSoon({}, ErrorCode::refused));
    ASSERT_TRUE(camera->waitFor([](const Counts& counts) { return counts.opened == 2; }));
    Bytes payload{2, 0x82};
    payload.resize(2 + wholeFrame, 0x80);
    ASSERT_TRUE(camera->deliverSoon({payload}));
    EXPECT_TRUE(frames.waitForFrames(1));
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("broke off")));
}

TEST_F(UsbCaptureInputTest, MayBeStoppedAndStartedTenTimes) {
    start();
    for (std::size_t run = 1; run <= 10; ++run) {
        ASSERT_TRUE(camera->deliverSoon(maker.next()));
        ASSERT_TRUE(frames.waitForFrames(run));
        input->stop();
        input->stop();
        expectTidy();
        input->start(frames);
        input->start(frames);
    }
}

TEST_F(UsbCaptureInputTest, TwoCamerasMayTakeTurns) {
    FakeUsbCamera other(smallCamera());
    const auto second = inputOf(other, patient);
    start();
    for (std::size_t turn = 0; turn < 5; ++turn) {
        ASSERT_TRUE(camera->deliverSoon(maker.next()));
        ASSERT_TRUE(frames.waitForFrames(2 * turn + 1));
        input->stop();
        expectTidy();
        second->start(frames);
        ASSERT_TRUE(other.deliverSoon(maker.next()));
        ASSERT_TRUE(frames.waitForFrames(2 * turn + 2));
        second->stop();
        EXPECT_EQ(other.counts().transfers, 0);
        input->start(frames);
    }
}

TEST_F(UsbCaptureInputTest, MayBeDestroyedWhileFramesPourIn) {
    for (int round = 0; round < 20; ++round) {
        start();
        std::atomic<bool> done{false};
        std::thread pouring([&] {
            FrameMaker frame;
            while (!done)
                if (!camera->deliver(frame.next())) std::this_thread::yield();
        });
        EXPECT_TRUE(frames.waitForFrames(std::size_t(round) * 2 + 2));
        input.reset();
        const std::size_t count = frames.count();
        expectTidy();
        done = true;
        pouring.join();
        EXPECT_EQ(frames.count(), count) << "none follows";
    }
}

TEST_F(UsbCaptureInputTest, MayBeStoppedAtAnyMoment) {
    std::minstd_rand random(3);
    start(impatient);
    for (int round = 0; round < 150; ++round) {
        switch (random() % 6) {
            case 0:
                camera->failRequest(setCur, commit, ErrorCode::refused);
                break;
            case 1:
                camera->fail("alternate 1", ErrorCode::failed, 1);
                break;
            case 2:
                camera->fail("open", ErrorCode::busy, 2);
                break;
            case 3:
                camera->fail("submit", ErrorCode::failed, 2);
                break;
            default:
                break;
        }
        for (auto i = random() % 40; i > 0; --i) {
            camera->deliver(maker.next(), random() % 3 == 0 ? ErrorCode::failed : ErrorCode::none);
            std::this_thread::yield();
        }
        input->stop();
        expectTidy();
        input->start(frames);
    }
    input.reset();
    expectTidy();
}

} // namespace
} // namespace tavelo
