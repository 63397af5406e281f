// SPDX-License-Identifier: MIT
// The preview as shown on the screen, inside a frameless translucent window like the panel's.
#include <gmock/gmock.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QExposeEvent>
#include <QScreen>
#include <atomic>
#include <functional>
#include <thread>

#include "display_test_main.h"
#include "fake_capture.h"
#include "passes_harness.h"
#include "video/gl/gl_context.h"
#include "video/kt_display_view.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;

constexpr int tolerance = 2;
constexpr std::chrono::milliseconds patience = 40s; // software OpenGL is slow on a busy machine

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

TEST_P(VisiblePreviewTest, RepaintingShowsTheNewestPictureAgain) {
    deliver(64, 48);
    ASSERT_TRUE(screenBecomes(drawReference(fitted(64, 48, {536, 301}, false))));
    deliver(640, 480);
    const QImage newest = drawReference(fitted(640, 480, {536, 301}, false));
    ASSERT_TRUE(screenBecomes(newest));
    for (int i = 0; i < 3; ++i) {
        QExposeEvent exposed(QRegion(0, 0, 536, 301));
        QCoreApplication::sendEvent(view_->mtkView(), &exposed);
        EXPECT_LE(compare(onScreen(), newest).largest, tolerance) << "repaint " << i;
    }
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

/// Real OpenGL that a test can put into the "lost" state.
class LosableSurface final : public FrameSurface {
public:
    LosableSurface(std::unique_ptr<FrameSurface> surface, std::atomic<bool>& lost)
        : surface_(std::move(surface)),
          lost_(lost) {}

    void setDrawable(bool drawable) override { surface_->setDrawable(drawable); }
    bool makeCurrent() override { return !lost_ && surface_->makeCurrent(); }
    bool beginDisplay(ViewportSize viewport) override { return surface_->beginDisplay(viewport); }
    void present() override { surface_->present(); }
    void flush() override { surface_->flush(); }

private:
    std::unique_ptr<FrameSurface> surface_;
    std::atomic<bool>& lost_;
};

/// The renderer in a container inside a window, with a real context and a camera that delivers continuously.
class LostContextTest : public ::testing::Test {
protected:
    void SetUp() override {
        window_.setGeometry(100, 80, 600, 400);
        container_ = QWidget::createWindowContainer(view_, &window_);
        view_->setContainer(container_);
        container_->setGeometry(20, 30, 536, 301);
        window_.show();
        ASSERT_TRUE(eventually([&] { return view_->isExposed(); }));
        camera_ = std::thread([this] {
            const auto picture = makeTestPicture(640, 480);
            for (int i = 1; pouring_; ++i)
                view_->drawPixelBufferWithPresentationTime(picture, MediaTime::fromNanoseconds(i * 1ms));
        });
        ASSERT_TRUE(drawsOn());
    }
    void TearDown() override {
        pouring_ = false;
        if (camera_.joinable()) camera_.join();
    }

    bool drawsOn() const {
        return eventually([&, goal = view_->drawnFrames() + 5] { return view_->drawnFrames() > goal; });
    }
    QImage onScreen() const {
        const QRect area(container_->mapToGlobal(QPoint(0, 0)), container_->size());
        return QGuiApplication::primaryScreen()
            ->grabWindow(0, area.x(), area.y(), area.width(), area.height())
            .toImage()
            .convertToFormat(QImage::Format_RGB32);
    }
    bool screenShowsThePicture() const {
        const QImage expected = drawReference({640, 480, 536, 301, VideoGravity::resizeAspect, false, false});
        return eventually([&] { return compare(onScreen(), expected).largest <= tolerance; });
    }
    RenderBackend losable(RenderBackend backend) {
        if (backend.renderer == Renderer::gl && backend.surface)
            backend.surface = std::make_unique<LosableSurface>(std::move(backend.surface), lost_);
        return backend;
    }

    std::atomic<bool> lost_ = false;
    std::atomic<bool> pouring_ = true;
    bool heals_ = false; // when the context is created again
    int remade_ = 0;
    QWidget window_;
    QWidget* container_ = nullptr; // owns the view
    KTMTKView* view_ = new KTMTKView(
        QRect(),
        [this](QWindow& window, SerialQueue& queue) {
            return losable(makeRenderBackend(RendererChoice::gl, window, queue));
        },
        [this](Renderer renderer, QWindow& window, SerialQueue& queue) {
            ++remade_;
            if (heals_) lost_ = false;
            return losable(remakeRenderBackend(renderer, window, queue));
        });
    std::thread camera_;
};

TEST_F(LostContextTest, IsMadeAgainWhileTheCameraPoursAndThePictureIsBack) {
    heals_ = true;
    for (int i = 1; i <= 3; ++i) {
        lost_ = true;
        ASSERT_TRUE(eventually([&] { return remade_ == i; }));
        ASSERT_TRUE(
            eventually([&, goal = view_->drawnFrames() + 40] { return view_->drawnFrames() > goal; }));
    }
    EXPECT_EQ(view_->renderer(), Renderer::gl);
    EXPECT_TRUE(screenShowsThePicture());
}

TEST_F(LostContextTest, StaysLostAndTheProcessorDrawsInTheSameWindow) {
    lost_ = true;
    ASSERT_TRUE(eventually([&] { return view_->renderer() == Renderer::cpu; }));
    EXPECT_TRUE(drawsOn());
    EXPECT_TRUE(screenShowsThePicture());
    EXPECT_TRUE(container_->isVisible());
    window_.resize(500, 380);
    container_->resize(536, 301);
    EXPECT_TRUE(drawsOn());
}

std::string rendererName(const ::testing::TestParamInfo<RendererChoice>& choice) {
    return choice.param == RendererChoice::gl ? "Gl" : "Cpu";
}

INSTANTIATE_TEST_SUITE_P(Renderers, VisiblePreviewTest,
                         ::testing::Values(RendererChoice::gl, RendererChoice::cpu), rendererName);

TEST(AutomaticRenderer, UsesTheCpuRendererIfOpenGLIsSoftware) {
    SerialQueue queue("probe");
    const auto context = GlContext::create(queue);
    const bool software = !context || context->isSoftware();
    const KTMTKView view;
    EXPECT_EQ(view.renderer(), software ? Renderer::cpu : Renderer::gl);
}

} // namespace
} // namespace tavelo::testing

// Exits with 77 if this machine has no window system or no suitable OpenGL.
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
