// SPDX-License-Identifier: MIT
// Movies that the renderer makes of camera frames, without whole pictures, and what happens if those fail.
#include <gmock/gmock.h>

#include <QCoreApplication>
#include <atomic>
#include <future>

#include "fake_asset_writer.h"
#include "fake_backend.h"
#include "test_picture.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

/// Draws the test picture, and counts how often.  Its movie pictures are not drawn here.
class MovieFrame final : public CameraFrame {
public:
    MovieFrame(std::size_t width, std::size_t height) : width_(width), height_(height) {}

    std::size_t width() const override { return width_; }
    std::size_t height() const override { return height_; }
    bool draw(const PixelBuffer& destination) const override {
        ++drawn;
        const auto picture = makeTestPicture(width_, height_);
        for (std::size_t y = 0; y < height_; ++y)
            std::copy_n(picture->baseAddress() + y * picture->bytesPerRow(), width_ * 4,
                        destination.baseAddress() + y * destination.bytesPerRow());
        return true;
    }
    bool hasMoviePicture() const override { return has; }

    mutable std::atomic<int> drawn = 0;
    bool has = true;

private:
    std::size_t width_;
    std::size_t height_;
};

class CameraFramesTest : public ::testing::Test {
protected:
    void SetUp() override { record(KTAssetWriterManager::madeOfCameraFrames()); }

    /// After one frame that nobody looked at.
    void record(const KTAssetWriterManager::Options& options) {
        view_.setAssetWriteManager(std::make_shared<KTAssetWriterManager>(
            std::make_shared<FakeAssetWriterPlatform>(script_), options));
        draw(1ms, nullptr);
        view_.startRecordWithFilePathAudioOutputSettingsCompletionHandler("movie.mp4", std::nullopt,
                                                                          [](bool, const Error&) {});
        settle();
        frame_->drawn = 0;
        log_.take();
        script_.take();
    }
    void draw(std::chrono::nanoseconds time, const std::shared_ptr<PixelBuffer>& reduced) {
        view_.drawSample({nullptr, MediaTime::fromNanoseconds(time), nullptr, frame_, reduced});
        settle();
    }
    void drawReduced(std::chrono::nanoseconds time) { draw(time, makeTestPicture(640, 360)); }
    void drawWhole(std::chrono::nanoseconds time) {
        view_.drawSample({makeTestPicture(1280, 720), MediaTime::fromNanoseconds(time), nullptr, nullptr,
                          makeTestPicture(640, 360)});
        settle();
    }
    bool writesStill() {
        std::promise<bool> written;
        view_.screenShotWithFilePathCompletionHandler(
            "unwritten.png", [&](bool success, const Error&) { written.set_value(success); });
        return written.get_future().get();
    }
    void settle() {
        view_.renderQueue().sync([] {});
    }

    BackendLog log_;
    WriterScript script_;
    std::shared_ptr<MovieFrame> frame_ = std::make_shared<MovieFrame>(1280, 720);
    KTMTKView view_{QRect(), fakeBackend(log_)};
};

TEST_F(CameraFramesTest, MovieWantsFramesAndNoWholePicturesUntilItEnds) {
    EXPECT_EQ(view_.demand(), (PictureDemand{false, 0, 0, true}));
    view_.stopRecord();
    settle();
    EXPECT_EQ(view_.demand(), (PictureDemand{false, 0, 0, false}));
}

TEST_F(CameraFramesTest, FramesAreRecordedAndNotDecoded) {
    drawReduced(2ms);
    draw(3ms, nullptr);
    const auto calls = script_.take();
    EXPECT_THAT(calls, Contains("video append frame 2000000/1000000000"));
    EXPECT_THAT(calls, Contains("video append frame 3000000/1000000000"));
    EXPECT_EQ(frame_->drawn, 0);
    EXPECT_THAT(log_.take(), Not(Contains("correct 80x45")));
}

TEST_F(CameraFramesTest, FramesAreRecordedAsTheyAreMirrored) {
    view_.setShouldFlipHorizontal(true);
    drawReduced(2ms);
    view_.setShouldFlipHorizontal(false);
    view_.setShouldFlipVertical(true);
    draw(3ms, nullptr);
    const auto calls = script_.take();
    EXPECT_THAT(calls, Contains("video append frame mirrored 2000000/1000000000"));
    EXPECT_THAT(calls, Contains("video append frame upside down 3000000/1000000000"));
}

TEST_F(CameraFramesTest, WholePicturesAreNotKeptBesideAMovie) {
    const std::weak_ptr<PixelBuffer> whole = view_.correctPixelBuffer();
    ASSERT_FALSE(whole.expired());
    drawReduced(2ms);
    EXPECT_TRUE(whole.expired());
}

TEST_F(CameraFramesTest, FrameWithoutAMoviePictureIsRecordedAsAPicture) {
    frame_->has = false;
    drawReduced(2ms);
    EXPECT_THAT(script_.take(), Contains("video append 2000000/1000000000"));
    EXPECT_EQ(frame_->drawn, 1);
}

TEST_F(CameraFramesTest, CameraThatMakesWholePicturesAnywayIsRecordedToo) {
    drawWhole(2ms);
    EXPECT_THAT(script_.take(), Contains("video append 2000000/1000000000"));
}

TEST_F(CameraFramesTest, FramesOfAnotherSizeAreRecordedAsPicturesUntilTheSizeIsTheMoviesAgain) {
    const auto first = std::exchange(frame_, std::make_shared<MovieFrame>(1280, 960));
    drawReduced(2ms);
    EXPECT_THAT(script_.take(), Contains("video append 2000000/1000000000"));
    EXPECT_TRUE(view_.demand().whole);
    EXPECT_FALSE(view_.demand().forMovie);
    frame_ = std::make_shared<MovieFrame>(640, 720);
    drawReduced(3ms);
    EXPECT_THAT(script_.take(), Contains("video append 3000000/1000000000"));
    frame_ = first;
    drawReduced(4ms);
    EXPECT_THAT(script_.take(), Contains("video append frame 4000000/1000000000"));
    EXPECT_TRUE(view_.demand().forMovie);
}

TEST_F(CameraFramesTest, StillBesideAMovieIsTheWholePictureAndTakesNothingFromTheMovie) {
    drawReduced(2ms);
    EXPECT_EQ(view_.correctPixelBuffer()->width(), 1280U);
    EXPECT_EQ(frame_->drawn, 1);
    drawReduced(3ms);
    EXPECT_THAT(script_.take(), Contains("video append frame 3000000/1000000000"));
}

TEST_F(CameraFramesTest, FrameThatAStillDecodedBeforeItWasDrawnIsInTheMovie) {
    drawReduced(2ms);
    std::promise<void> busy;
    view_.renderQueue().async([wait = busy.get_future().share()] { wait.wait(); });
    view_.renderQueue().async([this] { view_.correctPixelBuffer(); });
    view_.drawSample({nullptr, MediaTime::fromNanoseconds(3ms), nullptr, frame_, makeTestPicture(640, 360)});
    busy.set_value();
    settle();
    EXPECT_THAT(script_.take(), Contains(HasSubstr("3000000/1000000000")).Times(1));
}

TEST_F(CameraFramesTest, FrameThatOvertakesADrawIsRecordedAtItsOwnTime) {
    view_.stopRecord();
    drawWhole(2ms);
    script_.take();
    std::promise<void> busy; // as while the encoder's library is loaded
    view_.renderQueue().async([wait = busy.get_future().share()] { wait.wait(); });
    view_.startRecordWithFilePathAudioOutputSettingsCompletionHandler("movie.mp4", std::nullopt,
                                                                      [](bool, const Error&) {});
    view_.drawSample({makeTestPicture(1280, 720), MediaTime::fromNanoseconds(3ms), nullptr, nullptr,
                      makeTestPicture(640, 360)});
    view_.drawSample({nullptr, MediaTime::fromNanoseconds(9ms), nullptr, frame_});
    busy.set_value();
    settle();
    const auto calls = script_.take();
    EXPECT_THAT(calls, Contains("session 9000000/1000000000"));
    EXPECT_THAT(calls, Not(Contains(HasSubstr(" 3000000/1000000000"))));
}

TEST_F(CameraFramesTest, RecorderThatTakesNoFramesGetsPictures) {
    view_.stopRecord();
    record({});
    EXPECT_EQ(view_.demand(), (PictureDemand{true, 0, 0, false}));
    drawReduced(2ms);
    EXPECT_THAT(script_.take(), Contains("video append 2000000/1000000000"));
    EXPECT_EQ(frame_->drawn, 1);
}

// Whole pictures that OpenGL could not correct

TEST_F(CameraFramesTest, WholePictureWhoseCorrectionFailedIsNotInTheMovie) {
    drawWhole(2ms);
    log_.hangsOnColumns = 80;
    drawWhole(3ms);
    log_.hangsOnColumns = 0;
    drawWhole(4ms);
    const auto calls = script_.take();
    EXPECT_THAT(calls, Contains("video append 2000000/1000000000"));
    EXPECT_THAT(calls, Not(Contains("video append 3000000/1000000000")));
    EXPECT_THAT(calls, Contains("video append 4000000/1000000000"));
}

TEST_F(CameraFramesTest, StillOfAPictureWhoseCorrectionFailedFails) {
    drawWhole(2ms);
    EXPECT_NE(view_.correctPixelBuffer(), nullptr);
    log_.hangsOnColumns = 80;
    drawWhole(3ms);
    EXPECT_FALSE(writesStill());
}

TEST_F(CameraFramesTest, FrameIsNotDrawnIntoAPictureOfAnotherSize) {
    draw(2ms, nullptr);
    ASSERT_NE(view_.correctPixelBuffer(), nullptr);
    log_.refuseCameraFrame = true;
    for (const auto& [width, height] : {std::pair(1280, 1440), std::pair(2560, 720)}) {
        frame_ = std::make_shared<MovieFrame>(width, height);
        draw(3ms, nullptr);
        EXPECT_FALSE(writesStill()) << width << "x" << height;
        EXPECT_EQ(frame_->drawn, 0) << width << "x" << height;
    }
}

// Pictures of a view that nobody looks at

TEST_F(CameraFramesTest, PictureOfAHiddenViewIsThatOfItsLastFrame) {
    view_.setGeometry(0, 0, 320, 180);
    draw(2ms, nullptr);
    EXPECT_EQ(view_.grabPicture().size(), QSize(320, 180));
    EXPECT_EQ(frame_->drawn, 1);
    EXPECT_THAT(log_.take(), Contains("correct 80x45"));
}

TEST_F(CameraFramesTest, PictureOfAShownViewIsTheOneOnTheScreen) {
    view_.mtkViewDrawableSizeWillChange(536, 301);
    drawReduced(2ms);
    EXPECT_EQ(view_.grabPicture().size(), QSize(536, 301));
    EXPECT_EQ(frame_->drawn, 0);
}

} // namespace
} // namespace tavelo::testing
