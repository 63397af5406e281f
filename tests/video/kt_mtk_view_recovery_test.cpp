// SPDX-License-Identifier: MIT
// Renderer failures: what counts as a drawn frame, and which renderer draws afterwards.
#include <gmock/gmock.h>

#include <QCoreApplication>

#include "fake_backend.h"
#include "support/recorded_diagnostics.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class KTMTKViewRecoveryTest : public ::testing::Test {
protected:
    void SetUp() override { view_.setDiagnostics(diagnostics_); }

    /// Delivers one camera frame and waits until it is processed.
    void draw() {
        view_.drawPixelBufferWithPresentationTime(PixelBuffer::create(PixelFormat::bgra32, 64, 48),
                                                  MediaTime::fromNanoseconds(++time_ * 1ms));
        view_.renderQueue().sync([] {});
        QCoreApplication::processEvents();
        view_.renderQueue().sync([] {});
    }
    void awaitExposure() {
        while (!view_.isExposed())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    /// Loses the context, lets a draw detect it, and lets it be created again successfully.
    void lose() {
        log_.lost = true;
        draw();
        log_.lost = false;
    }
    RenderBackend remake(Renderer renderer) {
        remade_.push_back(renderer);
        if (renderer == Renderer::gl && refusals_-- > 0) return {};
        // The CPU renderer never fails.
        return makeFakeBackend(renderer == Renderer::gl ? log_ : processorLog_, renderer);
    }

    int time_ = 0;
    int refusals_ = 0;
    std::vector<Renderer> remade_;
    RecordedDiagnostics diagnostics_;
    BackendLog log_;
    BackendLog processorLog_;
    KTMTKView view_{QRect(), fakeBackend(log_, Renderer::gl),
                    [this](Renderer renderer, QWindow&, SerialQueue&) { return remake(renderer); }};
};

TEST_F(KTMTKViewRecoveryTest, FailedDrawIsNoDrawnFrame) {
    draw();
    EXPECT_EQ(view_.drawnFrames(), 1U);
    lose();
    EXPECT_EQ(view_.drawnFrames(), 1U);
    log_.hangs = true;
    draw();
    EXPECT_EQ(view_.drawnFrames(), 1U);
}

TEST_F(KTMTKViewRecoveryTest, LostContextIsMadeAgainAndDrawsTheNextFrame) {
    draw();
    log_.take();
    lose();
    EXPECT_THAT(remade_, ElementsAre(Renderer::gl));
    draw();
    EXPECT_THAT(log_.take(),
                ElementsAre("make frame 64x48", "make corrected 64x48", "correct 4x3", "display", "present"));
    EXPECT_EQ(view_.drawnFrames(), 2U);
    EXPECT_EQ(view_.renderer(), Renderer::gl);
    EXPECT_THAT(diagnostics_.lines(), IsEmpty());
}

TEST_F(KTMTKViewRecoveryTest, AfterThreeFailuresTheProcessorTakesOverWithOneLine) {
    draw();
    log_.lost = true; // new contexts are lost too
    for (int i = 0; i < 5; ++i)
        draw();
    EXPECT_THAT(remade_, ElementsAre(Renderer::gl, Renderer::gl, Renderer::cpu));
    EXPECT_EQ(view_.renderer(), Renderer::cpu);
    EXPECT_EQ(view_.surfaceType(), QSurface::RasterSurface);
    EXPECT_THAT(processorLog_.take(), Contains("present"));
    EXPECT_EQ(view_.drawnFrames(), 3U);
    EXPECT_THAT(diagnostics_.lines(),
                ElementsAre("preview: OpenGL failed three times: the processor draws from now on"));
}

TEST_F(KTMTKViewRecoveryTest, ContextThatCannotBeMadeAgainIsAFailureToo) {
    draw();
    refusals_ = 100;
    lose();
    EXPECT_THAT(remade_, ElementsAre(Renderer::gl, Renderer::gl, Renderer::cpu));
    draw();
    EXPECT_EQ(view_.drawnFrames(), 2U);
    EXPECT_EQ(diagnostics_.lines().size(), 1U);
}

TEST_F(KTMTKViewRecoveryTest, HangingCardCountsAsFailure) {
    log_.hangs = true;
    for (int i = 0; i < 4; ++i)
        draw();
    EXPECT_EQ(view_.renderer(), Renderer::cpu);
    EXPECT_EQ(view_.drawnFrames(), 1U);
}

TEST_F(KTMTKViewRecoveryTest, FailuresFarApartDoNotSwitchTheRenderer) {
    for (int i = 0; i < 5; ++i) {
        lose();
        for (int frame = 0; frame < 30; ++frame)
            draw();
    }
    EXPECT_EQ(view_.renderer(), Renderer::gl);
    EXPECT_THAT(remade_, Each(Renderer::gl));
    EXPECT_EQ(view_.drawnFrames(), 150U);
}

TEST_F(KTMTKViewRecoveryTest, FailuresWithinASecondOfEachOtherAddUp) {
    for (int i = 0; i < 3; ++i) {
        lose();
        for (int frame = 0; frame < 29; ++frame)
            draw();
    }
    EXPECT_EQ(view_.renderer(), Renderer::cpu);
}

TEST_F(KTMTKViewRecoveryTest, ShownWindowStaysShownWhenTheProcessorTakesOver) {
    view_.setGeometry(0, 0, 200, 100);
    view_.show();
    awaitExposure();
    refusals_ = 100;
    lose();
    awaitExposure();
    EXPECT_EQ(view_.renderer(), Renderer::cpu);
    EXPECT_EQ(view_.size(), QSize(200, 100));
    draw();
    EXPECT_THAT(processorLog_.take(), Contains("present"));
}

TEST_F(KTMTKViewRecoveryTest, ContextThatIsMadeAgainMayDrawInTheWindowThatIsShown) {
    view_.show();
    awaitExposure();
    view_.renderQueue().sync([] {});
    ASSERT_TRUE(log_.toldDrawable);
    log_.toldDrawable = false;
    lose();
    EXPECT_THAT(remade_, ElementsAre(Renderer::gl));
    EXPECT_TRUE(log_.toldDrawable);
}

TEST_F(KTMTKViewRecoveryTest, ViewMayDieBeforeItRecovers) {
    {
        KTMTKView view(QRect(), fakeBackend(log_, Renderer::gl),
                       [this](Renderer renderer, QWindow&, SerialQueue&) { return remake(renderer); });
        log_.lost = true;
        view.drawPixelBufferWithPresentationTime(PixelBuffer::create(PixelFormat::bgra32, 8, 8), {});
        view.renderQueue().sync([] {});
    }
    QCoreApplication::processEvents();
    EXPECT_THAT(remade_, IsEmpty());
}

} // namespace
} // namespace tavelo::testing
