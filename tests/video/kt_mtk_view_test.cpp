// SPDX-License-Identifier: MIT
#include "video/kt_mtk_view.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <future>

#include "fake_backend.h"
#include "test_picture.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

MediaTime at(std::chrono::nanoseconds time) {
    return MediaTime::fromNanoseconds(time);
}

std::shared_ptr<PixelBuffer> makeFrame(std::size_t width, std::size_t height) {
    return PixelBuffer::create(PixelFormat::bgra32, width, height);
}

std::vector<std::uint8_t> bytesOf(const PixelBuffer& buffer) {
    const auto lock = buffer.lock();
    return {buffer.baseAddress(), buffer.baseAddress() + buffer.bytesPerRow() * buffer.height()};
}

class KTMTKViewTest : public ::testing::Test {
protected:
    void draw(const std::shared_ptr<PixelBuffer>& frame, std::chrono::nanoseconds time = 1ms) {
        view_.drawPixelBufferWithPresentationTime(frame, at(time));
        settle();
    }
    void settle() {
        view_.renderQueue().sync([] {});
    }
    void setViewport(double width, double height) {
        view_.mtkViewDrawableSizeWillChange(width, height);
        settle();
    }

    BackendLog log_;
    KTMTKView view_{QRect(), fakeBackend(log_)};
};

// Frames and their buffers

TEST_F(KTMTKViewTest, StartsWithoutBuffersAspectFittedAndUnmirrored) {
    EXPECT_EQ(view_.pixelBuffer(), nullptr);
    EXPECT_EQ(view_.correctPixelBuffer(), nullptr);
    EXPECT_EQ(view_.videoGravity(), VideoGravity::resizeAspect);
    EXPECT_FALSE(view_.shouldFlipHorizontal());
    EXPECT_FALSE(view_.shouldFlipVertical());
    EXPECT_EQ(view_.viewportSize(), (ViewportSize{0, 0}));
    EXPECT_EQ(view_.renderQueue().label(), "KT.Metal.RenderQueue");
    EXPECT_NE(view_.assetWriteManager(), nullptr);
    EXPECT_FALSE(view_.assetWriteManager()->isRecording());
}

TEST_F(KTMTKViewTest, FirstFrameMakesBothBuffersThenIsCorrectedAndDisplayed) {
    draw(makeFrame(64, 48), 5ms);
    EXPECT_THAT(log_.take(),
                ElementsAre("make frame 64x48", "make corrected 64x48", "correct 4x3", "display", "present"));
    EXPECT_EQ(view_.presentationTime(), at(5ms));
    EXPECT_EQ(view_.drawnFrames(), 1U);
}

TEST_F(KTMTKViewTest, FrameOfTheSameSizeKeepsTheBuffers) {
    draw(makeFrame(64, 48));
    const auto before = view_.pixelBuffer();
    log_.take();
    draw(makeFrame(64, 48));
    EXPECT_EQ(view_.pixelBuffer(), before);
    EXPECT_THAT(log_.take(), ElementsAre("correct 4x3", "display", "present"));
}

TEST_F(KTMTKViewTest, FrameOfANewSizeReleasesTheOldBuffersAndMakesNewOnesBeforeCopying) {
    draw(makeFrame(64, 48));
    const std::weak_ptr<PixelBuffer> oldFrame = view_.pixelBuffer();
    const std::weak_ptr<PixelBuffer> oldCorrected = view_.correctPixelBuffer();
    const auto frame = makeTestPicture(1920, 1080);
    draw(frame);
    EXPECT_TRUE(oldFrame.expired());
    EXPECT_TRUE(oldCorrected.expired());
    EXPECT_EQ(view_.correctGroupSize(), (GroupExtent{16, 16, 1}));
    EXPECT_EQ(view_.correctGroupCount(), (GroupExtent{120, 68, 1}));
    EXPECT_EQ(view_.correctPixelBuffer()->height(), 1080U);
    EXPECT_EQ(bytesOf(*view_.pixelBuffer()), bytesOf(*frame));
}

TEST_F(KTMTKViewTest, EmptyFrameIsIgnored) {
    draw(nullptr);
    EXPECT_THAT(log_.take(), IsEmpty());
    EXPECT_EQ(view_.drawnFrames(), 0U);
    view_.createTextureWithPixelBuffer(nullptr);
    EXPECT_THAT(log_.take(), IsEmpty());
}

TEST_F(KTMTKViewTest, FramesOfOneRowOrColumnAreShownAndThoseWithoutPixelsAreNot) {
    for (const auto& [width, height] : {std::pair{1, 9}, std::pair{9, 1}, std::pair{1, 1}}) {
        draw(makeFrame(std::size_t(width), std::size_t(height)));
        EXPECT_THAT(log_.take(), Contains("correct 1x1"));
    }
    for (const auto& [width, height] : {std::pair{0, 9}, std::pair{9, 0}}) {
        std::vector<PixelBuffer::Plane> none{{nullptr, std::size_t(width), std::size_t(height), 0}};
        view_.createTextureWithPixelBuffer(std::make_shared<PixelBuffer>(
            PixelFormat::bgra32, std::size_t(width), std::size_t(height), std::move(none), nullptr));
        EXPECT_THAT(log_.take(), IsEmpty());
    }
}

TEST_F(KTMTKViewTest, FrameWithRowsOfAnotherLengthIsCopiedUnsheared) {
    draw(makeTestPicture(5, 4)); // rows of 64 bytes
    std::vector<std::uint8_t> tight(std::size_t(5) * 4 * 4);
    for (std::size_t i = 0; i < tight.size(); ++i)
        tight[i] = std::uint8_t(i);
    std::vector<PixelBuffer::Plane> planes{{tight.data(), 5, 4, 20}};
    draw(std::make_shared<PixelBuffer>(PixelFormat::bgra32, 5, 4, std::move(planes), nullptr));
    EXPECT_EQ(bytesOf(*view_.pixelBuffer()), tight);
}

TEST_F(KTMTKViewTest, FrameBufferThatCannotBeMadeIsTriedAgainWithTheNextFrame) {
    log_.refuseCameraFrame = true;
    draw(makeFrame(64, 48));
    EXPECT_EQ(view_.pixelBuffer(), nullptr);
    EXPECT_EQ(view_.texture(), nullptr);
    log_.refuseCameraFrame = false;
    log_.take();
    draw(makeFrame(64, 48));
    EXPECT_NE(view_.pixelBuffer(), nullptr);
    EXPECT_THAT(log_.take(), Contains("correct 4x3"));
}

TEST_F(KTMTKViewTest, CorrectedBufferThatCannotBeMadeStaysAwayUntilTheSizeChanges) {
    log_.refuseCorrectedFrame = true;
    draw(makeFrame(64, 48));
    log_.refuseCorrectedFrame = false;
    log_.take();
    draw(makeFrame(64, 48));
    EXPECT_EQ(view_.correctTexture(), nullptr);
    EXPECT_THAT(log_.take(), ElementsAre("display nothing", "present"));
    draw(makeFrame(32, 32));
    EXPECT_NE(view_.correctTexture(), nullptr);
}

TEST_F(KTMTKViewTest, FreedPictureDataLeavesTheFramesTextureAlone) {
    draw(makeFrame(64, 48));
    view_.freePictureData();
    settle();
    EXPECT_EQ(view_.pixelBuffer(), nullptr);
    EXPECT_EQ(view_.correctPixelBuffer(), nullptr);
    EXPECT_EQ(view_.correctTexture(), nullptr);
    EXPECT_NE(view_.texture(), nullptr);
}

TEST_F(KTMTKViewTest, TheSurfaceHasLetGoOfTheWindowBeforeThatIsDestroyed) {
    view_.resize(64, 48);
    view_.show();
    const QDeadlineTimer patience(20'000);
    while (!log_.toldDrawable && !patience.hasExpired()) {
        QCoreApplication::processEvents();
        settle();
    }
    ASSERT_TRUE(log_.toldDrawable);
    view_.destroy();
    EXPECT_FALSE(log_.toldDrawable);
}

// Draws

TEST_F(KTMTKViewTest, AtMostOneDrawWaitsAndTheNewestFrameTakesItsPlace) {
    draw(makeFrame(64, 48), 1ms);
    log_.take();
    std::promise<void> busy; // a slow GPU
    view_.renderQueue().async([wait = busy.get_future().share()] { wait.wait(); });
    view_.drawPixelBufferWithPresentationTime(makeFrame(64, 48), at(2ms));
    view_.drawPixelBufferWithPresentationTime(makeFrame(64, 48), at(3ms));
    const auto newest = makeTestPicture(64, 48);
    view_.drawPixelBufferWithPresentationTime(newest, at(4ms));
    busy.set_value();
    settle();
    EXPECT_THAT(log_.take(), ElementsAre("correct 4x3", "display", "present"));
    EXPECT_EQ(view_.presentationTime(), at(4ms));
    EXPECT_EQ(bytesOf(*view_.pixelBuffer()), bytesOf(*newest));
    EXPECT_EQ(view_.drawnFrames(), 2U);
}

TEST_F(KTMTKViewTest, DrawBlackBeforeAnyFrameClearsNothingAndStillDraws) {
    view_.drawBlack();
    settle();
    EXPECT_THAT(log_.take(), ElementsAre("display nothing", "present"));
    EXPECT_EQ(view_.drawnFrames(), 0U);
}

TEST_F(KTMTKViewTest, DrawBlackZeroesEveryByteAndDraws) {
    draw(makeTestPicture(61, 37));
    log_.take();
    view_.drawBlack();
    settle();
    EXPECT_THAT(bytesOf(*view_.pixelBuffer()), ::testing::Each(0));
    EXPECT_THAT(log_.take(), ElementsAre("correct 4x3", "display", "present"));
}

TEST_F(KTMTKViewTest, FlipFlagsReachTheCorrectionPass) {
    view_.setShouldFlipHorizontal(true);
    draw(makeFrame(8, 8));
    EXPECT_EQ(log_.lastFlipHorizontal, 1);
    EXPECT_EQ(log_.lastFlipVertical, 0);
    view_.setShouldFlipHorizontal(false);
    view_.setShouldFlipVertical(true);
    draw(makeFrame(8, 8));
    EXPECT_EQ(log_.lastFlipHorizontal, 0);
    EXPECT_EQ(log_.lastFlipVertical, 1);
}

TEST_F(KTMTKViewTest, WithoutADrawableTheCorrectionStillRunsAndNothingIsPresented) {
    log_.drawable = false;
    draw(makeFrame(64, 48));
    EXPECT_THAT(log_.take(), AllOf(Contains("correct 4x3"), Not(Contains("present"))));
}

// Recording

class NotingRecorder final : public KTAssetWriterManager {
public:
    struct Fed {
        std::shared_ptr<PixelBuffer> pixelBuffer;
        MediaTime time;
    };

    bool isRecording() const override { return recording; }
    void recordPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& pixelBuffer,
                                               const MediaTime& presentationTime) override {
        fed.push_back({pixelBuffer, presentationTime});
    }

    std::atomic<bool> recording = false;
    std::vector<Fed> fed;
};

TEST_F(KTMTKViewTest, RecorderIsFedAfterEachDrawWhileItRecords) {
    const auto recorder = std::make_shared<NotingRecorder>();
    view_.setAssetWriteManager(recorder);
    draw(makeFrame(64, 48), 1ms);
    EXPECT_THAT(recorder->fed, IsEmpty());
    recorder->recording = true;
    draw(makeFrame(64, 48), 2ms);
    ASSERT_EQ(recorder->fed.size(), 1U);
    EXPECT_EQ(recorder->fed[0].pixelBuffer, view_.correctPixelBuffer());
    EXPECT_EQ(recorder->fed[0].time, at(2ms));
}

TEST_F(KTMTKViewTest, RecorderIsFedWithoutADrawableToo) {
    const auto recorder = std::make_shared<NotingRecorder>();
    recorder->recording = true;
    view_.setAssetWriteManager(recorder);
    log_.drawable = false;
    draw(makeFrame(64, 48));
    EXPECT_EQ(recorder->fed.size(), 1U);
}

TEST_F(KTMTKViewTest, RecorderIsNotFedBeforeTheFirstFrame) {
    const auto recorder = std::make_shared<NotingRecorder>();
    recorder->recording = true;
    view_.setAssetWriteManager(recorder);
    view_.drawBlack();
    settle();
    EXPECT_THAT(recorder->fed, IsEmpty());
}

// Geometry

TEST_F(KTMTKViewTest, MatrixIsIdentityWhileTheViewportIsZero) {
    draw(makeFrame(1280, 720));
    EXPECT_EQ(view_.getRenderModelViewMatrixBuffer(),
              KTMTKView::getMetalMatrixFromCAMatrix(identityTransform));
}

TEST_F(KTMTKViewTest, MatrixIsIdentityBeforeTheFirstFrame) {
    setViewport(1000, 1000);
    EXPECT_EQ(view_.getRenderModelViewMatrixBuffer(),
              KTMTKView::getMetalMatrixFromCAMatrix(identityTransform));
}

TEST_F(KTMTKViewTest, MatrixFollowsTheGravity) {
    draw(makeFrame(1280, 720));
    setViewport(1000, 1000);
    const auto scale = [&] {
        const FloatMatrix matrix = view_.getRenderModelViewMatrixBuffer();
        return std::array{matrix[0], matrix[5], matrix[10], matrix[15]};
    };
    EXPECT_THAT(scale(), ElementsAre(1, 0.5625F, 1, 1));
    view_.setVideoGravity(VideoGravity::resizeAspectFill);
    EXPECT_THAT(scale(), ElementsAre(1280.0F / 720.0F, 1, 1, 1));
    view_.setVideoGravity(VideoGravity::resize);
    EXPECT_THAT(scale(), ElementsAre(1, 1, 1, 1));
}

TEST_F(KTMTKViewTest, MatrixIsConvertedInStorageOrder) {
    Transform transform{};
    for (std::size_t i = 0; i < transform.size(); ++i)
        transform[i] = double(i) + 1.0 / 3.0;
    const FloatMatrix matrix = KTMTKView::getMetalMatrixFromCAMatrix(transform);
    for (std::size_t i = 0; i < matrix.size(); ++i)
        EXPECT_EQ(matrix[i], float(transform[i]));
    EXPECT_EQ(sizeof(matrix), 64U);
}

TEST_F(KTMTKViewTest, DrawableSizeIsTruncated) {
    setViewport(535.9, 301.999);
    EXPECT_EQ(view_.viewportSize(), (ViewportSize{535, 301}));
    setViewport(-3, 0.5);
    EXPECT_EQ(view_.viewportSize(), (ViewportSize{0, 0}));
}

// Window

TEST_F(KTMTKViewTest, ExposedAndResizedWindowIsRepaintedWithoutAFrame) {
    const auto recorder = std::make_shared<NotingRecorder>();
    view_.setAssetWriteManager(recorder);
    draw(makeFrame(64, 48));
    recorder->recording = true;
    log_.take();
    view_.setGeometry(0, 0, 200, 100);
    view_.show();
    while (!view_.isExposed())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    settle();
    EXPECT_THAT(log_.take(), AllOf(Contains("display"), Not(Contains("correct 4x3"))));
    EXPECT_EQ(view_.viewportSize(), (ViewportSize{200, 100}));
    EXPECT_THAT(recorder->fed, IsEmpty());
    EXPECT_EQ(view_.drawnFrames(), 1U);
}

} // namespace
} // namespace tavelo::testing
