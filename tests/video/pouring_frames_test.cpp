// SPDX-License-Identifier: MIT
// User actions on the preview while frames arrive continuously: nothing may hang, race or outlive its owner.
#include <gmock/gmock.h>

#include <QApplication>
#include <functional>

#include "pouring_camera.h"
#include "video/kt_display_view.h"

namespace tavelo::testing {
namespace {

using ::testing::Each;

constexpr QRect frame(0, 0, 160, 90);

// This program runs twice: without a screen, and on a virtual screen with OpenGL.
RendererChoice renderer() {
    return qEnvironmentVariable("TAVELO_TEST_RENDERER") == QLatin1String("gl") ? RendererChoice::gl
                                                                               : RendererChoice::cpu;
}

class PouringFramesTest : public ::testing::Test {
protected:
    void SetUp() override {
        view_ = KTDisplayView::create(frame, platform_, renderer());
        if (renderer() == RendererChoice::gl && view_->mtkView()->renderer() != Renderer::gl)
            GTEST_SKIP() << "no suitable OpenGL";
        view_->show();
    }

    /// Runs the event loop until this many more frames are drawn.
    void await(std::uint64_t frames) {
        const std::uint64_t goal = view_->mtkView()->drawnFrames() + frames;
        while (view_->mtkView()->drawnFrames() < goal)
            QApplication::processEvents(QEventLoop::AllEvents, 1);
    }

    PouringPlatform platform_;
    std::shared_ptr<PouringDevice> first_ = std::make_shared<PouringDevice>("first");
    std::shared_ptr<PouringDevice> second_ = std::make_shared<PouringDevice>("second");
    std::unique_ptr<KTDisplayView> view_;
};

TEST_F(PouringFramesTest, ViewMayBeDestroyed) {
    for (int i = 0; i < 10; ++i) {
        view_->showDevice(first_);
        await(3);
        view_.reset();
        SetUp();
    }
}

TEST_F(PouringFramesTest, ViewMayBeDestroyedWhileAStartOrAStopWaits) {
    for (int i = 0; i < 10; ++i) {
        view_->showDevice(first_);
        if (i % 2 == 0) view_->stopRunning();
        view_.reset();
        SetUp();
    }
}

TEST_F(PouringFramesTest, ViewMayBeHiddenShownAndResized) {
    view_->showDevice(first_);
    for (int i = 0; i < 15; ++i) {
        view_->hide();
        await(1);
        view_->show();
        await(1);
        view_->resize(100 + 7 * i, 60 + 5 * i);
        await(1);
        view_->mtkView()->setHidden(i % 2 == 0);
        view_->mtkView()->setShouldFlipHorizontal(i % 3 == 0);
        await(1);
    }
}

TEST_F(PouringFramesTest, NativeWindowMayBeTakenAway) {
    view_->showDevice(first_);
    for (int i = 0; i < 10; ++i) {
        await(1);
        view_->mtkView()->destroy();
        await(1);
        view_->mtkView()->show();
    }
}

TEST_F(PouringFramesTest, ViewMayBeClosed) {
    view_->showDevice(first_);
    await(2);
    view_->close();
    await(2);
    view_->show();
    await(2);
}

TEST_F(PouringFramesTest, CamerasMayBeSwitchedAndStoppedInAnyOrder) {
    for (int i = 0; i < 15; ++i) {
        view_->showDevice(first_);
        if (i % 3 == 0) await(2);
        view_->stopRunning();
        view_->showDevice(second_);
        await(2);
        EXPECT_EQ(view_->captureDevice(), second_);
        view_->captureQueue().sync([] {}); // the awaited frames may be late frames of the first camera
        EXPECT_TRUE(view_->captureSession().isRunning());
        if (i % 2 == 0) view_->showDevice(nullptr);
    }
}

TEST_F(PouringFramesTest, PictureIsBlackAfterEveryStop) {
    for (int i = 0; i < 15; ++i) {
        view_->showDevice(first_);
        await(5);
        view_->stopRunning();
        view_->captureQueue().sync([] {});
        view_->mtkView()->renderQueue().sync([] {});
        const auto buffer = view_->mtkView()->correctPixelBuffer();
        const auto lock = buffer->lock();
        EXPECT_THAT(std::span(buffer->baseAddress(), buffer->bytesPerRow() * buffer->height()), Each(0));
    }
}

TEST_F(PouringFramesTest, SnapshotsMayBeTakenMeanwhile) {
    view_->showDevice(first_);
    await(1);
    while (view_->mtkView()->viewportSize() == ViewportSize{})
        QApplication::processEvents(QEventLoop::AllEvents, 1);
    for (int i = 0; i < 20; ++i) {
        const QImage picture = view_->mtkView()->grabPicture();
        EXPECT_EQ(picture.size(), frame.size());
        await(1);
    }
}

} // namespace
} // namespace tavelo::testing
