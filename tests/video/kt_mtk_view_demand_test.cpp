// SPDX-License-Identifier: MIT
// What the renderer asks of the camera, and what it makes of frames that are not whole pictures.
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
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

/// Draws the test picture, and counts how often.
class CountedFrame final : public CameraFrame {
public:
    CountedFrame(std::size_t width, std::size_t height) : width_(width), height_(height) {}

    std::size_t width() const override { return width_; }
    std::size_t height() const override { return height_; }
    bool draw(const PixelBuffer& destination) const override {
        ++drawn;
        if (damaged) return false;
        const auto picture = makeTestPicture(width_, height_);
        KTMTKView::copyDataFromPixelBufferToPixelBuffer(*picture, *wrapped(destination));
        return true;
    }

    mutable std::atomic<int> drawn = 0;
    bool damaged = false;

private:
    // The same memory without the lock, which the caller holds.
    static std::shared_ptr<PixelBuffer> wrapped(const PixelBuffer& picture) {
        std::vector<PixelBuffer::Plane> planes(picture.planes().begin(), picture.planes().end());
        return std::make_shared<PixelBuffer>(picture.format(), picture.width(), picture.height(),
                                             std::move(planes), nullptr);
    }

    std::size_t width_;
    std::size_t height_;
};

std::vector<std::uint8_t> bytesOf(const PixelBuffer& buffer) {
    const auto lock = buffer.lock();
    return {buffer.baseAddress(), buffer.baseAddress() + buffer.bytesPerRow() * buffer.height()};
}

class DemandTest : public ::testing::Test {
protected:
    explicit DemandTest(std::unique_ptr<KTMTKView> view = nullptr)
        : view_(view ? std::move(view) : std::make_unique<KTMTKView>(QRect(), fakeBackend(log_))) {}

    /// A frame of 1280 x 720 of which a half was made.
    void drawReduced(std::chrono::nanoseconds time = 1ms) {
        draw({nullptr, MediaTime::fromNanoseconds(time), nullptr, frame_, makeTestPicture(640, 360)});
    }
    /// One that nobody looks at.
    void drawNothing(std::chrono::nanoseconds time = 1ms) {
        draw({nullptr, MediaTime::fromNanoseconds(time), nullptr, frame_, nullptr});
    }
    void draw(const SampleBuffer& sample) {
        view_->drawSample(sample);
        settle();
    }
    void settle() {
        view_->renderQueue().sync([] {});
    }
    void show() {
        view_->setGeometry(0, 0, 536, 301);
        view_->show();
        while (!view_->isExposed())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        settle();
    }
    void record() {
        view_->setAssetWriteManager(
            std::make_shared<KTAssetWriterManager>(std::make_shared<FakeAssetWriterPlatform>(script_)));
        view_->startRecordWithFilePathAudioOutputSettingsCompletionHandler("movie.mp4", std::nullopt,
                                                                           [](bool, const Error&) {});
        settle();
    }

    BackendLog log_;
    WriterScript script_;
    std::shared_ptr<CountedFrame> frame_ = std::make_shared<CountedFrame>(1280, 720);
    std::unique_ptr<KTMTKView> view_;
};

// What is asked for

TEST_F(DemandTest, HiddenViewWantsNothing) {
    EXPECT_EQ(view_->demand(), (PictureDemand{false, 0, 0}));
    view_->mtkViewDrawableSizeWillChange(536, 301);
    settle();
    EXPECT_EQ(view_->demand(), (PictureDemand{false, 0, 0}));
}

TEST_F(DemandTest, ShownViewWantsAsMuchAsThePictureCoversUntilItIsHiddenAgain) {
    show();
    EXPECT_EQ(view_->demand(), (PictureDemand{false, 536, 301})); // the frames' proportions are not yet known
    frame_ = std::make_shared<CountedFrame>(640, 480);
    drawNothing();
    EXPECT_EQ(view_->demand(), (PictureDemand{false, 401, 301}));
    view_->setVideoGravity(VideoGravity::resizeAspectFill);
    EXPECT_EQ(view_->demand(), (PictureDemand{false, 536, 402}));
    view_->hide();
    while (view_->isExposed())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    EXPECT_EQ(view_->demand(), (PictureDemand{false, 0, 0}));
}

TEST_F(DemandTest, ViewWithoutAnAreaWantsNothing) {
    show();
    drawNothing();
    for (const auto& [width, height] : {std::pair(0, 0), std::pair(536, 0), std::pair(0, 301)}) {
        view_->mtkViewDrawableSizeWillChange(width, height);
        settle();
        const PictureDemand demand = view_->demand();
        EXPECT_TRUE(demand.shownWidth == 0 || demand.shownHeight == 0) << width << "x" << height;
    }
}

TEST_F(DemandTest, ViewInAMinimisedWindowWantsNothing) {
    QWindow window;
    window.setGeometry(0, 0, 700, 400);
    view_->setParent(&window);
    window.show();
    show();
    EXPECT_NE(view_->demand(), (PictureDemand{false, 0, 0}));
    window.hide();
    while (window.isExposed())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    EXPECT_TRUE(view_->isVisible());
    EXPECT_EQ(view_->demand(), (PictureDemand{false, 0, 0}));
    window.show();
    while (!window.isExposed())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    EXPECT_EQ(view_->demand(), (PictureDemand{false, 536, 301}));
    view_.reset(); // before the window that it is in
}

TEST_F(DemandTest, RecordingWantsWholePicturesUntilItEnds) {
    drawNothing();
    record();
    EXPECT_TRUE(view_->demand().whole);
    view_->stopRecord();
    settle();
    EXPECT_FALSE(view_->demand().whole);
}

TEST_F(DemandTest, VeryFlatPictureIsWantedAsALine) {
    frame_ = std::make_shared<CountedFrame>(4000, 1);
    drawNothing();
    show();
    EXPECT_EQ(view_->demand(), (PictureDemand{false, 536, 1}));
}

TEST_F(DemandTest, ViewThatServesStillsAloneWantsWholePictures) {
    view_->setNeedsWholePictures(true);
    EXPECT_EQ(view_->demand(), (PictureDemand{true, 0, 0}));
}

// What is drawn

TEST_F(DemandTest, BothPassesRunOnTheReducedPictureAndTheFrameIsNotDecoded) {
    drawReduced(5ms);
    EXPECT_THAT(log_.take(), ElementsAre("make frame 640x360", "make corrected 640x360", "correct 40x23",
                                         "display", "present"));
    drawReduced(6ms);
    EXPECT_THAT(log_.take(), ElementsAre("correct 40x23", "display", "present"));
    EXPECT_EQ(frame_->drawn, 0);
    EXPECT_EQ(view_->drawnFrames(), 2U);
    EXPECT_EQ(view_->presentationTime(), MediaTime::fromNanoseconds(6ms));
    EXPECT_EQ(view_->frameSize(), (ViewportSize{1280, 720}));
    EXPECT_EQ(view_->correctGroupCount(), (GroupExtent{80, 45, 1}));
}

TEST_F(DemandTest, FrameThatNobodyLooksAtIsKeptAndCountsAsDrawn) {
    drawReduced();
    log_.take();
    drawNothing(7ms);
    EXPECT_THAT(log_.take(), IsEmpty());
    EXPECT_EQ(frame_->drawn, 0);
    EXPECT_EQ(view_->drawnFrames(), 2U);
    EXPECT_EQ(view_->presentationTime(), MediaTime::fromNanoseconds(7ms));
}

TEST_F(DemandTest, ReducedPictureTakesTheFlipsAndTheFramesProportions) {
    view_->setShouldFlipHorizontal(true);
    frame_ = std::make_shared<CountedFrame>(1279, 720);
    drawReduced();
    EXPECT_EQ(log_.lastFlipHorizontal, 1);
    view_->mtkViewDrawableSizeWillChange(1000, 1000);
    settle();
    EXPECT_FLOAT_EQ(view_->getRenderModelViewMatrixBuffer()[5], 720.0F / 1279.0F);
}

TEST_F(DemandTest, ExposedWindowIsRepaintedWithTheReducedPicture) {
    drawReduced();
    log_.take();
    show();
    EXPECT_THAT(log_.take(), Contains("display"));
    EXPECT_EQ(frame_->drawn, 0);
}

TEST_F(DemandTest, WholePictureIsShownAgainWhenItComes) {
    drawReduced();
    log_.take();
    draw({makeTestPicture(1280, 720), MediaTime::fromNanoseconds(2ms)});
    EXPECT_THAT(log_.take(), ElementsAre("make frame 1280x720", "make corrected 1280x720", "correct 80x45",
                                         "display", "present"));
    EXPECT_EQ(bytesOf(*view_->pixelBuffer()), bytesOf(*makeTestPicture(1280, 720)));
    EXPECT_EQ(frame_->drawn, 0);
}

// Pictures that did not change

class UnchangedPicture : public DemandTest {
protected:
    void SetUp() override {
        draw(same_);
        log_.take();
    }

    const SampleBuffer same_{nullptr, MediaTime::fromNanoseconds(9ms), nullptr, frame_,
                             makeTestPicture(640, 360)};
};

TEST_F(UnchangedPicture, IsNotDrawnAgainButCounts) {
    draw(same_);
    EXPECT_THAT(log_.take(), IsEmpty());
    EXPECT_EQ(view_->drawnFrames(), 2U);
    EXPECT_EQ(view_->presentationTime(), MediaTime::fromNanoseconds(9ms));
}

TEST_F(UnchangedPicture, IsDrawnOnceItIsMirrored) {
    view_->setShouldFlipHorizontal(true);
    draw(same_);
    EXPECT_THAT(log_.take(), Contains("display"));
    view_->setShouldFlipVertical(true);
    draw(same_);
    EXPECT_THAT(log_.take(), Contains("display"));
}

TEST_F(UnchangedPicture, IsDrawnAfterAnotherOne) {
    drawReduced();
    log_.take();
    draw(same_);
    EXPECT_THAT(log_.take(), Contains("display"));
}

TEST_F(UnchangedPicture, IsDrawnAfterABlackOne) {
    view_->drawBlack();
    settle();
    log_.take();
    draw(same_);
    EXPECT_THAT(log_.take(), Contains("correct 40x23"));
}

TEST_F(UnchangedPicture, IsDrawnIfItsDrawFailed) {
    log_.hangs = true;
    view_->setShouldFlipHorizontal(true);
    draw(same_);
    log_.hangs = false;
    log_.take();
    draw(same_);
    EXPECT_THAT(log_.take(), Contains("display"));
}

TEST_F(UnchangedPicture, IsInAMovieEachTimeItComes) {
    record();
    for (const auto time : {10ms, 11ms}) {
        SampleBuffer sample = same_;
        sample.presentationTimeStamp = MediaTime::fromNanoseconds(time);
        draw(sample);
    }
    const auto calls = script_.take();
    for (const char* time : {"10000000", "11000000"})
        EXPECT_THAT(calls, Contains("video append " + std::string(time) + "/1000000000"));
}

// The whole picture on demand

TEST_F(DemandTest, WholePictureIsMadeOnceOfTheLastFrameWhenItIsAskedFor) {
    drawReduced();
    log_.take();
    EXPECT_EQ(bytesOf(*view_->pixelBuffer()), bytesOf(*makeTestPicture(1280, 720)));
    EXPECT_EQ(view_->correctPixelBuffer()->width(), 1280U);
    EXPECT_THAT(log_.take(), ElementsAre("make frame 1280x720", "make corrected 1280x720", "correct 80x45"));
    EXPECT_EQ(frame_->drawn, 1);
    drawReduced();
    EXPECT_NE(view_->correctPixelBuffer(), nullptr);
    EXPECT_EQ(frame_->drawn, 2);
}

TEST_F(DemandTest, WholePicturesAreLetGoWithTheNextReducedOne) {
    drawReduced();
    const std::weak_ptr<PixelBuffer> whole = view_->correctPixelBuffer();
    EXPECT_FALSE(whole.expired());
    drawReduced();
    EXPECT_TRUE(whole.expired());
    const int drawn = frame_->drawn;
    draw({makeTestPicture(1280, 720), MediaTime::fromNanoseconds(1ms)});
    log_.take();
    drawReduced();
    EXPECT_THAT(log_.take(), Contains("make frame 640x360")); // the reduced ones were let go, too
    EXPECT_EQ(frame_->drawn, drawn);
}

TEST_F(DemandTest, WholePictureBesideAReducedOneIsCorrectedWhenItIsAskedFor) {
    draw({makeTestPicture(1280, 720), MediaTime::fromNanoseconds(1ms), nullptr, nullptr,
          makeTestPicture(640, 360)});
    EXPECT_THAT(log_.take(), Not(Contains("correct 80x45")));
    EXPECT_NE(view_->correctPixelBuffer(), nullptr);
    EXPECT_THAT(log_.take(), ElementsAre("correct 80x45"));
}

TEST_F(DemandTest, DamagedFrameThatNobodyLookedAtFailsItsStill) {
    frame_->damaged = true;
    drawNothing();
    std::promise<std::string> reason;
    view_->screenShotWithFilePathCompletionHandler("unwritten.png", [&](bool success, const Error& error) {
        reason.set_value(success ? "" : error.text);
    });
    EXPECT_EQ(reason.get_future().get(), "CIImage create error");
}

TEST_F(DemandTest, MovieBeginsThoughTheLastFrameIsDamaged) {
    frame_->damaged = true;
    drawNothing();
    record();
    EXPECT_TRUE(view_->demand().whole) << "a movie is recorded";
}

TEST_F(DemandTest, WholePictureWhoseCorrectionFailedIsMadeTheNextTime) {
    drawReduced();
    log_.hangs = true;
    std::promise<bool> written;
    view_->screenShotWithFilePathCompletionHandler(
        "unwritten.png", [&](bool success, const Error&) { written.set_value(success); });
    EXPECT_FALSE(written.get_future().get());
    log_.hangs = false;
    log_.take();
    EXPECT_NE(view_->correctPixelBuffer(), nullptr);
    EXPECT_THAT(log_.take(), Contains("correct 80x45"));
}

TEST_F(DemandTest, BlackPictureHasTheFramesSizeAndDecodesNothing) {
    drawReduced();
    view_->drawBlack();
    settle();
    EXPECT_EQ(view_->pixelBuffer()->width(), 1280U);
    EXPECT_THAT(bytesOf(*view_->pixelBuffer()), ::testing::Each(0));
    EXPECT_THAT(log_.take(), Contains("correct 80x45"));
    EXPECT_EQ(frame_->drawn, 0);
}

TEST_F(DemandTest, FreedPictureDataIsNotMadeAgain) {
    drawReduced();
    view_->freePictureData();
    settle();
    EXPECT_EQ(view_->correctPixelBuffer(), nullptr);
    EXPECT_EQ(frame_->drawn, 0);
}

// Movies

TEST_F(DemandTest, EveryFrameOfAMovieIsWholeThoughTheCameraMadeLess) {
    drawReduced(1ms);
    record();
    EXPECT_EQ(frame_->drawn, 1); // for the movie's size
    drawReduced(2ms);
    drawNothing(3ms);
    EXPECT_EQ(frame_->drawn, 3);
    draw({makeTestPicture(1280, 720), MediaTime::fromNanoseconds(4ms), nullptr, nullptr,
          makeTestPicture(640, 360)});
    EXPECT_EQ(frame_->drawn, 3);
    const auto calls = script_.take();
    for (const char* time : {"2000000", "3000000", "4000000"})
        EXPECT_THAT(calls, Contains("video append " + std::string(time) + "/1000000000"));
}

/// The processor's own passes.
class WholePixelsTest : public DemandTest {
protected:
    WholePixelsTest() : DemandTest(std::make_unique<KTMTKView>(QRect(), RendererChoice::cpu)) {}
};

TEST_F(WholePixelsTest, StillOfAReducedFrameIsThatOfTheWholeOne) {
    for (const bool mirror : {false, true}) {
        view_->setShouldFlipHorizontal(mirror);
        draw({makeTestPicture(1280, 720), MediaTime::fromNanoseconds(1ms)});
        const auto whole = bytesOf(*view_->correctPixelBuffer());
        drawReduced(2ms);
        EXPECT_EQ(bytesOf(*view_->correctPixelBuffer()), whole);
        drawNothing(3ms);
        EXPECT_EQ(bytesOf(*view_->correctPixelBuffer()), whole);
        EXPECT_NE(bytesOf(*view_->pixelBuffer()) == whole, mirror);
    }
}

TEST_F(WholePixelsTest, StillHasTheMirroringThatItsFrameWasShownWith) {
    view_->setShouldFlipHorizontal(true);
    drawReduced();
    view_->setShouldFlipHorizontal(false); // the camera is stopped by now
    EXPECT_NE(bytesOf(*view_->correctPixelBuffer()), bytesOf(*view_->pixelBuffer()));
}

} // namespace
} // namespace tavelo::testing
