// SPDX-License-Identifier: MIT
// The preview as it is on the screen, inside a frameless translucent window as the panel has it.
#include <gmock/gmock.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QScreen>
#include <functional>

#include "display_test_main.h"
#include "fake_capture.h"
#include "passes_harness.h"
#include "video/gl/gl_context.h"
#include "video/kt_display_view.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;

constexpr int tolerance = 2;
constexpr std::chrono::milliseconds patience = 10s;

bool eventually(const std::function<bool()>& condition) {
    QElapsedTimer clock;
    clock.start();
    while (!condition()) {
        if (clock.hasExpired(patience.count())) return false;
        QApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

class VisiblePreviewTest : public ::testing::TestWithParam<RendererChoice> {
protected:
    void SetUp() override {
        window_.setWindowFlags(Qt::FramelessWindowHint);
        window_.setAttribute(Qt::WA_TranslucentBackground);
        window_.setGeometry(100, 80, 700, 420);
        view_ =
            KTDisplayView::create(QRect(), platform_, GetParam(), &window_).release(); // the window owns it
        view_->setGeometry(20, 30, 536, 301);
        window_.show();
        ASSERT_TRUE(eventually([&] { return view_->mtkView()->isExposed(); }));
        view_->showDevice(std::make_shared<FakeDevice>("0x1420000005ac8514"));
    }

    QImage onScreen() const {
        const QRect area(view_->mapToGlobal(QPoint(0, 0)), view_->size());
        return QGuiApplication::primaryScreen()
            ->grabWindow(0, area.x(), area.y(), area.width(), area.height())
            .toImage()
            .convertToFormat(QImage::Format_RGB32);
    }
    void deliver(int width, int height) {
        platform_.session->deliver(makeTestPicture(std::size_t(width), std::size_t(height)),
                                   MediaTime::fromNanoseconds(1ms));
    }
    static ReferenceCase fitted(int width, int height, QSize view, bool mirrored) {
        return {width, height, view.width(), view.height(), VideoGravity::resizeAspect, mirrored, false};
    }
    bool screenBecomes(const QImage& expected) const {
        return eventually([&] { return compare(onScreen(), expected).largest <= tolerance; });
    }
    static QImage black(QSize size) {
        QImage image(size, QImage::Format_RGB32);
        image.fill(Qt::black);
        return image;
    }

    FakeCapturePlatform platform_;
    QWidget window_;
    KTDisplayView* view_ = nullptr;
};

TEST_P(VisiblePreviewTest, UsesTheRendererAskedFor) {
    EXPECT_EQ(view_->mtkView()->renderer(), GetParam() == RendererChoice::gl ? Renderer::gl : Renderer::cpu);
}

TEST_P(VisiblePreviewTest, FrameIsOnTheScreenPixelForPixel) {
    deliver(1280, 720);
    EXPECT_TRUE(screenBecomes(drawReference(fitted(1280, 720, {536, 301}, false))));
}

TEST_P(VisiblePreviewTest, MirroredFrameIsOnTheScreenWithItsBars) {
    view_->mtkView()->setShouldFlipHorizontal(true);
    deliver(64, 48);
    EXPECT_TRUE(screenBecomes(drawReference(fitted(64, 48, {536, 301}, true))));
}

TEST_P(VisiblePreviewTest, GrabbedPictureIsWhatTheScreenShows) {
    deliver(640, 480);
    ASSERT_TRUE(screenBecomes(drawReference(fitted(640, 480, {536, 301}, false))));
    EXPECT_LE(compare(view_->mtkView()->grabPicture(), onScreen()).largest, tolerance);
}

TEST_P(VisiblePreviewTest, StopTurnsTheScreenBlack) {
    deliver(640, 480);
    ASSERT_TRUE(screenBecomes(drawReference(fitted(640, 480, {536, 301}, false))));
    view_->stopRunning();
    EXPECT_TRUE(screenBecomes(black({536, 301})));
}

TEST_P(VisiblePreviewTest, LastPictureFollowsANewSizeWithoutANewFrame) {
    deliver(640, 480);
    ASSERT_TRUE(screenBecomes(drawReference(fitted(640, 480, {536, 301}, false))));
    view_->resize(320, 350);
    EXPECT_TRUE(screenBecomes(drawReference(fitted(640, 480, {320, 350}, false))));
    EXPECT_EQ(view_->mtkView()->drawnFrames(), 1U);
}

TEST_P(VisiblePreviewTest, LastPictureIsThereAgainAfterHiding) {
    deliver(640, 480);
    const QImage expected = drawReference(fitted(640, 480, {536, 301}, false));
    ASSERT_TRUE(screenBecomes(expected));
    view_->mtkView()->setHidden(true);
    EXPECT_TRUE(screenBecomes(black({536, 301}))) << "the view's own background";
    view_->mtkView()->setHidden(false);
    EXPECT_TRUE(screenBecomes(expected));
}

TEST_P(VisiblePreviewTest, HiddenRendererStaysHiddenWhenItsWindowComesBack) {
    view_->mtkView()->setHidden(true);
    window_.hide();
    window_.show();
    ASSERT_TRUE(eventually([&] { return window_.windowHandle()->isExposed(); }));
    EXPECT_TRUE(view_->mtkView()->isHidden());
    EXPECT_FALSE(view_->mtkView()->isVisible());
}

TEST_P(VisiblePreviewTest, PictureIsThereAgainInAReparentedView) {
    deliver(640, 480);
    ASSERT_TRUE(screenBecomes(drawReference(fitted(640, 480, {536, 301}, false))));
    QWidget other;
    other.setGeometry(40, 40, 600, 400);
    other.show();
    view_->setParent(&other);
    view_->show();
    EXPECT_TRUE(screenBecomes(drawReference(fitted(640, 480, {536, 301}, false))));
    view_->setParent(&window_);
}

std::string rendererName(const ::testing::TestParamInfo<RendererChoice>& choice) {
    return choice.param == RendererChoice::gl ? "Gl" : "Cpu";
}

INSTANTIATE_TEST_SUITE_P(Renderers, VisiblePreviewTest,
                         ::testing::Values(RendererChoice::gl, RendererChoice::cpu), rendererName);

TEST(AutomaticRenderer, TakesTheProcessorWhereSoftwarePlaysTheGraphicsCard) {
    SerialQueue queue("probe");
    const auto context = GlContext::create(queue);
    const bool software = !context || context->isSoftware();
    const KTMTKView view;
    EXPECT_EQ(view.renderer(), software ? Renderer::cpu : Renderer::gl);
}

} // namespace
} // namespace tavelo::testing

// Exits with 77 where this machine has no window system or no OpenGL that will do.
int main(int argc, char** argv) {
    if (!tavelo::testing::hasDisplay()) return 77;
    const QApplication application(argc, argv);
    {
        tavelo::SerialQueue queue("probe");
        if (!tavelo::GlContext::create(queue)) return 77;
    }
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
