// SPDX-License-Identifier: MIT
// From the camera's frame to the movie file: the renderer, its recorder and the real writer.
#include <gmock/gmock.h>

#include <QApplication>
#include <cstdlib>
#include <future>

#include "fake_backend.h"
#include "manual_main_queue.h"
#include "movie_facts.h"
#include "moving_picture.h"
#include "platform/linux/movie/ffmpeg_asset_writer_platform.h"
#include "platform/virtual/virtual_backend.h"
#include "recorded_diagnostics.h"
#include "temporary_folder.h"
#include "video/cpu/cpu_frame_passes.h"
#include "video/kt_display_view.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

struct Ending {
    bool success = false;
    Error error;
};

/// Notes what it is fed, and records it.
class NotingRecorder final : public KTAssetWriterManager {
public:
    using KTAssetWriterManager::KTAssetWriterManager;

    void recordPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& pixelBuffer,
                                               const MediaTime& presentationTime) override {
        fed_.push_back(double(presentationTime.value) / presentationTime.timescale);
        KTAssetWriterManager::recordPixelBufferWithPresentationTime(pixelBuffer, presentationTime);
    }

    /// In seconds of the capture clock.  Read on the render queue, or when it feeds no more.
    const std::vector<double>& fed() const { return fed_; }

private:
    std::vector<double> fed_;
};

class RecordingTest : public ::testing::Test {
protected:
    void start(KTMTKView& view, std::optional<AudioSettings> audio = {}) {
        view.setAssetWriteManager(recorder_);
        view.startRecordWithFilePathAudioOutputSettingsCompletionHandler(
            path_.string(), audio, [this](bool success, const Error& error) {
                ended_.set_value({success, error});
            });
    }
    Ending ending() { return ended_.get_future().get(); }

    TemporaryFolder folder_;
    std::filesystem::path path_ = folder_.path() / "movie.mp4";
    test::RecordedDiagnostics diagnostics_;
    std::promise<Ending> ended_;
    std::shared_ptr<NotingRecorder> recorder_ =
        std::make_shared<NotingRecorder>(makeFfmpegAssetWriterPlatform(diagnostics_));
};

/// Frames by hand, corrected by the real passes.
class HandFedRecordingTest : public RecordingTest {
protected:
    /// Waits until it is drawn, and until the writer could take one more.
    void draw(int frame, std::size_t width = 320, std::size_t height = 180) {
        view_.drawPixelBufferWithPresentationTime(makeMovingPicture(width, height, frame),
                                                  MediaTime::fromNanoseconds(1h + frame * 33ms));
        bool ready = false;
        while (!ready)
            view_.renderQueue().sync([&] {
                const auto& input = recorder_->movieVideoInput();
                ready = !recorder_->isRecording() || recorder_->isFirstSample() ||
                        input->isReadyForMoreMediaData();
            });
    }

    BackendLog log_;
    KTMTKView view_{QRect(), [this](QWindow&, SerialQueue&) {
                        RenderBackend backend;
                        log_.drawable = false;
                        backend.surface = std::make_unique<FakeSurface>(log_);
                        backend.passes = std::make_unique<CpuFramePasses>();
                        return backend;
                    }};
};

TEST_F(HandFedRecordingTest, MirroredPreviewMakesAMirroredMovie) {
    view_.setShouldFlipHorizontal(true);
    draw(0);
    start(view_);
    for (int frame = 1; frame <= 10; ++frame)
        draw(frame);
    view_.stopRecord();
    EXPECT_TRUE(ending().success);
    const auto decoded = decode(path_);
    ASSERT_EQ(decoded.pictures.size(), 10U);
    EXPECT_NEAR(decoded.at(5, 40, 20).green, quarters[1].green, 6);
    EXPECT_NEAR(decoded.at(5, 280, 20).red, quarters[0].red, 6);
}

TEST_F(HandFedRecordingTest, UprightPreviewMakesAnUprightMovieWithAnEmptyAudioTrack) {
    draw(0);
    start(view_, AudioSettings());
    for (int frame = 1; frame <= 10; ++frame)
        draw(frame);
    view_.stopRecord();
    EXPECT_TRUE(ending().success);
    EXPECT_EQ(factsOf(path_).at("streams.stream.1.codec_name"), "aac");
    const auto decoded = decode(path_);
    ASSERT_EQ(decoded.pictures.size(), 10U);
    EXPECT_NEAR(decoded.at(5, 40, 20).red, quarters[0].red, 6);
}

TEST_F(HandFedRecordingTest, CameraThatChangesItsSizeLeavesAMovieOfTheFirstSize) {
    draw(0);
    start(view_);
    for (int frame = 1; frame <= 10; ++frame)
        draw(frame);
    for (int frame = 11; frame <= 20; ++frame)
        draw(frame, 640, 480);
    view_.stopRecord();
    EXPECT_TRUE(ending().success);
    const auto decoded = decode(path_);
    EXPECT_EQ(decoded.width, 320);
    EXPECT_EQ(decoded.pictures.size(), 20U);
}

// The preview turns black, at the time of the last frame.
TEST_F(HandFedRecordingTest, UnpluggedCameraEndsTheMovieWithTheWritersErrorAndWhatWasRecordedPlays) {
    draw(0);
    start(view_);
    for (int frame = 1; frame <= 10; ++frame)
        draw(frame);
    view_.drawBlack();
    const Ending end = ending();
    EXPECT_FALSE(end.success);
    EXPECT_EQ(end.error.text, "a frame is not later than the one before it");
    EXPECT_EQ(end.error.domain, "movie writer");
    EXPECT_EQ(decode(path_).pictures.size(), 10U);
}

TEST_F(HandFedRecordingTest, PathThatCannotBeWrittenIsToldWithTheWritersError) {
    draw(0);
    path_ = folder_.path() / "missing" / "movie.mp4";
    start(view_);
    const Ending end = ending();
    EXPECT_FALSE(end.success);
    EXPECT_EQ(end.error.text, "the movie file cannot be made: No such file or directory");
    EXPECT_FALSE(recorder_->isRecording());
}

TEST_F(HandFedRecordingTest, StopBeforeTheFirstFrameIsToldAndLeavesNoFile) {
    draw(0);
    start(view_);
    view_.stopRecord();
    const Ending end = ending();
    EXPECT_FALSE(end.success);
    EXPECT_EQ(end.error.text, "nothing was recorded");
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(HandFedRecordingTest, ClosedViewFinishesItsMovie) {
    {
        BackendLog log;
        KTMTKView view(QRect(), fakeBackend(log));
        for (int frame = 0; frame < 5; ++frame) {
            view.drawPixelBufferWithPresentationTime(makeMovingPicture(320, 180, frame),
                                                     MediaTime::fromNanoseconds(1h + frame * 33ms));
            view.renderQueue().sync([] {});
            if (frame == 0) start(view);
        }
        recorder_.reset();
    }
    EXPECT_TRUE(ending().success);
    EXPECT_EQ(packetsOf(path_).size(), 4U);
}

// The length of the next one in seconds; CI is content with a short one.
int recordedSeconds() {
    const char* wanted = std::getenv("TAVELO_RECORDED_SECONDS");
    return wanted != nullptr ? std::atoi(wanted) : 4;
}

TEST_F(RecordingTest, VirtualCameraAt720pAnd30FramesASecondLosesNoFrameAndThePreviewGoesOn) {
    ManualMainQueue mainQueue;
    CaptureFormatRequest format;
    format.size = {1280, 720};
    format.framesPerSecond = 30;
    const VirtualBackend cameras = makeVirtualBackend(1, format, mainQueue);
    const auto view = KTDisplayView::create(QRect(0, 0, 536, 301), *cameras.capture, RendererChoice::cpu);
    view->show();
    view->showDevice(cameras.capture->devicesWithMediaType(MediaType::video).at(0));
    KTMTKView& renderer = *view->mtkView();
    const auto awaitFrames = [&](std::uint64_t count) {
        const std::uint64_t goal = renderer.drawnFrames() + count;
        while (renderer.drawnFrames() < goal)
            QApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    };
    awaitFrames(5);
    start(renderer);
    const auto frames = std::uint64_t(30 * recordedSeconds());
    awaitFrames(frames);
    renderer.stopRecord();
    const Ending end = ending();
    EXPECT_TRUE(end.success) << end.error.text;
    renderer.renderQueue().sync([] {});
    const std::uint64_t drawn = renderer.drawnFrames();
    awaitFrames(3);
    EXPECT_GT(renderer.drawnFrames(), drawn);

    const auto packets = packetsOf(path_);
    const std::vector<double>& fed = recorder_->fed();
    ASSERT_EQ(packets.size(), fed.size());
    EXPECT_GE(packets.size(), frames - 1);
    for (std::size_t i = 0; i < packets.size(); ++i)
        EXPECT_NEAR(packets[i].time, fed[i] - fed.front(), 0.0001);
    const auto facts = factsOf(path_);
    EXPECT_EQ(facts.at("streams.stream.0.width"), "1280");
    EXPECT_NEAR(std::stod(facts.at("format.duration")), fed.back() - fed.front() + 1.0 / 30, 0.002);
    // The camera gave one every thirtieth of a second: none was lost on the way to the recorder either.
    EXPECT_NEAR(fed.back() - fed.front(), double(fed.size() - 1) / 30, 0.001);
    EXPECT_EQ(decodedPictureCount(path_), fed.size());
}

} // namespace
} // namespace tavelo::testing
