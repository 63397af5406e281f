// SPDX-License-Identifier: MIT
// The main window with its controller and the application delegate.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QPointer>
#include <QTest>
#include <memory>

#include "app/app_delegate.h"
#include "app/camera_access.h"
#include "app/kt_window.h"
#include "app/kt_window_controller.h"

namespace tavelo {
namespace {

constexpr QRect frame(30, 40, 300, 200);

TEST(KTWindow, TakesFrameAndTransparencyFromItsStyle) {
    const KTWindow window(frame, WindowStyle::borderless, true, true);
    EXPECT_EQ(window.size(), frame.size());
    EXPECT_EQ(window.pos(), frame.topLeft());
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::FramelessWindowHint));
    EXPECT_TRUE(window.testAttribute(Qt::WA_TranslucentBackground));
    const KTWindow titled(frame, WindowStyle::titled, false, true);
    EXPECT_FALSE(titled.windowFlags().testFlag(Qt::FramelessWindowHint));
    EXPECT_FALSE(titled.testAttribute(Qt::WA_TranslucentBackground));
}

TEST(KTWindow, MakesItsNativeWindowAtOnceUnlessThatIsDeferred) {
    const KTWindow deferred(frame, WindowStyle::borderless, true, true);
    EXPECT_EQ(deferred.windowHandle(), nullptr);
    const KTWindow made(frame, WindowStyle::borderless, true, false);
    EXPECT_NE(made.windowHandle(), nullptr);
}

TEST(KTWindow, IsNotDeletedWhenClosed) {
    const QPointer<KTWindow> window = new KTWindow(frame, WindowStyle::borderless, true, true);
    KTWindowController controller(*window);
    controller.windowDidLoad();
    controller.close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    ASSERT_NE(window, nullptr);
    EXPECT_FALSE(window->isVisible());
    delete window;
}

class Reopening : public testing::TestWithParam<bool> {
protected:
    Reopening() {
        controller_.windowDidLoad();
        delegate_.applicationDidFinishLaunching();
    }

    KTWindow window_{frame, WindowStyle::borderless, true, true};
    KTWindowController controller_{window_};
    const CameraAccess access_{QStringLiteral("/no such file")};
    AppDelegate delegate_{controller_, access_};
};

TEST_P(Reopening, ShowsAClosedWindow) {
    controller_.close();
    ASSERT_FALSE(window_.isVisible());
    EXPECT_TRUE(delegate_.applicationShouldHandleReopenHasVisibleWindows(GetParam()));
    EXPECT_TRUE(window_.isVisible());
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window_));
}

TEST_P(Reopening, RestoresAMinimisedWindow) {
    controller_.miniaturize();
    ASSERT_TRUE(window_.isMinimized());
    EXPECT_TRUE(delegate_.applicationShouldHandleReopenHasVisibleWindows(GetParam()));
    EXPECT_FALSE(window_.isMinimized());
    EXPECT_TRUE(window_.isVisible());
}

TEST_P(Reopening, BringsACoveredWindowToTheFront) {
    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    EXPECT_TRUE(delegate_.applicationShouldHandleReopenHasVisibleWindows(GetParam()));
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window_));
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutVisibleWindows, Reopening, testing::Bool());

} // namespace
} // namespace tavelo
