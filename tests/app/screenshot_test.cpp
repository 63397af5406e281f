// SPDX-License-Identifier: MIT
#include "app/screenshot.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QImage>
#include <QTest>

#include "fake_capture.h"
#include "support/temporary_folder.h"
#include "test_picture.h"
#include "video/kt_display_view.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;

class ScreenshotTest : public ::testing::Test {
protected:
    ScreenshotTest() {
        QPalette red;
        red.setColor(QPalette::Window, Qt::red);
        window_.setPalette(red);
        window_.resize(160, 90);
    }

    QString file() const { return QString::fromStdString(path_); }

    TemporaryFolder folder_;
    std::string path_ = (folder_.path() / "picture.png").string();
    FakeCapturePlatform platform_;
    QWidget window_;
};

TEST_F(ScreenshotTest, AWindowWithoutAPreviewIsTakenAtOnce) {
    window_.show();
    const Screenshot screenshot(window_, nullptr, path_);
    EXPECT_EQ(QCoreApplication::exec(), 0);
    const QImage picture(file());
    EXPECT_EQ(picture.size(), window_.size() * window_.devicePixelRatio());
    EXPECT_EQ(picture.pixelColor(picture.rect().center()), QColor(Qt::red));
}

TEST_F(ScreenshotTest, APreviewWithoutACameraIsTakenAtOnce) {
    const auto view = KTDisplayView::create(QRect(0, 0, 160, 90), platform_, RendererChoice::cpu, &window_);
    const Screenshot screenshot(window_, view.get(), path_);
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_FALSE(QImage(file()).isNull());
}

TEST_F(ScreenshotTest, APreviewIsTakenOnceItWasDrawnFiveTimes) {
    const auto view = KTDisplayView::create(QRect(0, 0, 160, 90), platform_, RendererChoice::cpu, &window_);
    window_.show();
    view->showDevice(std::make_shared<FakeDevice>("0x1420000005ac8514"));
    const auto deliver = [&] {
        platform_.session->deliver(makeTestPicture(160, 90), MediaTime::fromNanoseconds(1ms));
    };
    constexpr int patience = 20'000; // ms; sanitizers are slow
    for (std::uint64_t drawn = 1; drawn <= 4; ++drawn) {
        deliver();
        ASSERT_TRUE(QTest::qWaitFor([&] { return view->mtkView()->drawnFrames() == drawn; }, patience));
    }
    const Screenshot screenshot(window_, view.get(), path_);
    QTest::qWait(100); // it looks every 20 ms
    EXPECT_TRUE(QImage(file()).isNull());
    deliver();
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_FALSE(QImage(file()).isNull());
}

TEST_F(ScreenshotTest, AFileThatCannotBeWrittenIsOneLineAndStatusOne) {
    path_ = (folder_.path() / "missing" / "picture.png").string();
    ::testing::internal::CaptureStderr();
    const Screenshot screenshot(window_, nullptr, path_);
    EXPECT_EQ(QCoreApplication::exec(), 1);
    EXPECT_THAT(::testing::internal::GetCapturedStderr(),
                ::testing::HasSubstr(path_ + ": not written: No such file or directory\n"));
}

} // namespace
} // namespace tavelo::testing
