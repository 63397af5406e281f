// SPDX-License-Identifier: MIT
// What the renderer asks of the camera while its picture is shared, and what it gives to the share.
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <vector>

#include "fake_asset_writer.h"
#include "fake_backend.h"
#include "support/fake_picture_share.h"
#include "test_picture.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

/// Counts how often its whole picture is made.
class CountedFrame final : public CameraFrame {
public:
    std::size_t width() const override { return 1280; }
    std::size_t height() const override { return 720; }
    bool draw(const PixelBuffer& destination) const override {
        ++drawn;
        if (damaged) return false;
        std::memset(destination.baseAddress(), 1, destination.bytesPerRow() * destination.height());
        return true;
    }
    bool hasMoviePicture() const override { return has; }

    mutable std::atomic<int> drawn = 0;
    bool has = true;
    bool damaged = false;
};

class SharingTest : public ::testing::Test {
protected:
    explicit SharingTest(std::unique_ptr<KTMTKView> view = nullptr)
        : view_(view ? std::move(view) : std::make_unique<KTMTKView>(QRect(), fakeBackend(log_))) {
        view_->shareSlot().set(share_);
    }

    void draw(const SampleBuffer& sample) {
        view_->drawSample(sample);
        settle();
    }
    /// A frame of which the camera made no picture.
    void drawFrame(std::chrono::nanoseconds time = 1ms) {
        draw({nullptr, MediaTime::fromNanoseconds(time), nullptr, frame_});
    }
    void drawReduced(const std::shared_ptr<PixelBuffer>& reduced, std::chrono::nanoseconds time = 1ms) {
        draw({nullptr, MediaTime::fromNanoseconds(time), nullptr, frame_, reduced});
    }
    void settle() {
        view_->renderQueue().sync([] {});
    }

    BackendLog log_;
    WriterScript script_;
    std::shared_ptr<FakePictureShare> share_ = std::make_shared<FakePictureShare>();
    std::shared_ptr<CountedFrame> frame_ = std::make_shared<CountedFrame>();
    std::unique_ptr<KTMTKView> view_;
};

TEST_F(SharingTest, WhileNoProgramLooksNothingIsAskedForAndNothingIsMade) {
    EXPECT_EQ(view_->demand(), (PictureDemand{false, 0, 0, false}));
    for (int frame = 0; frame < 100; ++frame)
        drawFrame();
    EXPECT_EQ(frame_->drawn, 0);
    EXPECT_EQ(share_->roomAsked, 0);
    EXPECT_THAT(share_->take(), IsEmpty());
    EXPECT_THAT(log_.take(), IsEmpty());
}

TEST_F(SharingTest, TheShareHearsOfEveryFrameThatComes) {
    drawFrame();
    draw({makeTestPicture(640, 480), MediaTime::fromNanoseconds(2ms)});
    EXPECT_THAT(share_->sizes(), ElementsAre(Pair(1280U, 720U), Pair(640U, 480U)));
}

TEST_F(SharingTest, ItsWishIsAskedOfTheCamera) {
    share_->wants = SharedPicture::cameraFrame;
    EXPECT_EQ(view_->demand(), (PictureDemand{false, 0, 0, true}));
    share_->wants = SharedPicture::whole;
    EXPECT_EQ(view_->demand(), (PictureDemand{true, 0, 0, false}));
}

TEST_F(SharingTest, AFrameIsSharedAsItIsMirroredThoughNobodyLooksAtTheWindow) {
    share_->wants = SharedPicture::cameraFrame;
    view_->setShouldFlipHorizontal(true);
    drawFrame(5ms);
    view_->setShouldFlipHorizontal(false);
    view_->setShouldFlipVertical(true);
    drawFrame(6ms);
    const auto shared = share_->take();
    ASSERT_THAT(shared, SizeIs(2));
    EXPECT_EQ(shared[0].cameraFrame, frame_);
    EXPECT_EQ(shared[0].imageBuffer, nullptr);
    EXPECT_EQ(shared[0].mirroring, (Mirroring{true, false}));
    EXPECT_EQ(shared[0].presentationTimeStamp, MediaTime::fromNanoseconds(5ms));
    EXPECT_EQ(shared[1].mirroring, (Mirroring{false, true}));
    EXPECT_EQ(frame_->drawn, 0);
}

TEST_F(SharingTest, AProgramThatTakesWholePicturesGetsTheCorrectedOne) {
    share_->wants = SharedPicture::whole;
    drawFrame();
    const auto shared = share_->take();
    ASSERT_THAT(shared, SizeIs(1));
    EXPECT_EQ(shared[0].cameraFrame, nullptr);
    EXPECT_EQ(shared[0].imageBuffer, view_->correctPixelBuffer());
    EXPECT_EQ(shared[0].imageBuffer->width(), 1280U);
}

TEST_F(SharingTest, AFrameWithoutAMoviesPictureIsSharedWhole) {
    share_->wants = SharedPicture::cameraFrame;
    frame_->has = false;
    drawFrame();
    const auto shared = share_->take();
    ASSERT_THAT(shared, SizeIs(1));
    EXPECT_EQ(shared[0].imageBuffer, view_->correctPixelBuffer());
}

TEST_F(SharingTest, WithoutRoomNoPictureIsMadeAndThePreviewGoesOn) {
    share_->wants = SharedPicture::whole;
    share_->room = false;
    drawReduced(makeTestPicture(640, 360));
    drawFrame();
    EXPECT_EQ(frame_->drawn, 0);
    EXPECT_EQ(share_->roomAsked, 2);
    EXPECT_THAT(share_->take(), IsEmpty());
    EXPECT_EQ(view_->drawnFrames(), 2U);
    share_->room = true;
    drawFrame();
    EXPECT_THAT(share_->take(), SizeIs(1));
}

TEST_F(SharingTest, APictureThatDoesNotChangeIsSharedAgain) {
    const auto reduced = makeTestPicture(640, 360);
    drawReduced(reduced);
    share_->wants = SharedPicture::cameraFrame;
    drawReduced(reduced);
    drawReduced(reduced);
    EXPECT_THAT(share_->take(), SizeIs(2));
}

TEST_F(SharingTest, ADamagedFrameIsNotShared) {
    share_->wants = SharedPicture::whole;
    frame_->damaged = true;
    drawFrame();
    EXPECT_THAT(share_->take(), IsEmpty());
}

TEST_F(SharingTest, ADrawThatFailsIsNotShared) {
    share_->wants = SharedPicture::whole;
    log_.hangs = true;
    draw({makeTestPicture(640, 480), MediaTime::fromNanoseconds(1ms)});
    share_->wants = SharedPicture::cameraFrame;
    drawReduced(makeTestPicture(640, 360));
    EXPECT_THAT(share_->take(), IsEmpty());
}

TEST_F(SharingTest, AnEmptySlotGetsNothingMore) {
    share_->wants = SharedPicture::whole;
    view_->shareSlot().set(nullptr);
    EXPECT_EQ(view_->demand(), (PictureDemand{false, 0, 0, false}));
    drawFrame();
    EXPECT_THAT(share_->take(), IsEmpty());
    EXPECT_THAT(share_->sizes(), IsEmpty());
    EXPECT_EQ(share_.use_count(), 1);
}

TEST_F(SharingTest, AMovieAndAShareGetTheSameFrames) {
    share_->wants = SharedPicture::cameraFrame;
    view_->setAssetWriteManager(std::make_shared<KTAssetWriterManager>(
        std::make_shared<FakeAssetWriterPlatform>(script_), KTAssetWriterManager::madeOfCameraFrames()));
    drawFrame(1ms);
    view_->startRecordWithFilePathAudioOutputSettingsCompletionHandler("movie.mp4", std::nullopt,
                                                                       [](bool, const Error&) {});
    settle();
    share_->take();
    drawFrame(2ms);
    drawFrame(3ms);
    EXPECT_THAT(share_->take(), SizeIs(2));
    EXPECT_THAT(script_.take(), Contains("video append frame 3000000/1000000000"));
    EXPECT_EQ(view_->demand(), (PictureDemand{false, 0, 0, true}));
}

TEST_F(SharingTest, AMovieOfWholePicturesStillGetsThemBesideAShareOfFrames) {
    share_->wants = SharedPicture::cameraFrame;
    view_->setAssetWriteManager(
        std::make_shared<KTAssetWriterManager>(std::make_shared<FakeAssetWriterPlatform>(script_)));
    drawFrame(1ms);
    view_->startRecordWithFilePathAudioOutputSettingsCompletionHandler("movie.mp4", std::nullopt,
                                                                       [](bool, const Error&) {});
    settle();
    EXPECT_TRUE(view_->demand().whole);
}

/// The processor's own passes.
class SharedPixelsTest : public SharingTest {
protected:
    SharedPixelsTest() : SharingTest(std::make_unique<KTMTKView>(QRect(), RendererChoice::cpu)) {}
};

TEST_F(SharedPixelsTest, TheWholePictureIsMirroredAsItIsShown) {
    share_->wants = SharedPicture::whole;
    const auto picture = makeTestPicture(64, 48);
    for (const bool mirror : {false, true}) {
        view_->setShouldFlipHorizontal(mirror);
        draw({picture, MediaTime::fromNanoseconds(1ms)});
        const auto shared = share_->take();
        ASSERT_THAT(shared, SizeIs(1));
        const PixelBuffer& got = *shared[0].imageBuffer;
        for (std::size_t y = 0; y < 48; ++y)
            for (std::size_t x = 0; x < 64; ++x) {
                const std::size_t from = mirror ? 63 - x : x;
                ASSERT_EQ(std::memcmp(got.baseAddress() + y * got.bytesPerRow() + x * 4,
                                      picture->baseAddress() + y * picture->bytesPerRow() + from * 4, 4),
                          0)
                    << x << ' ' << y;
            }
    }
}

} // namespace
} // namespace tavelo::testing
