// SPDX-License-Identifier: MIT
#include "widgets/focus_ring.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>

#include "widgets/kt_camera_button.h"
#include "widgets/kt_slider.h"
#include "widgets/kt_switch.h"

#include "picture.h"

namespace tavelo {
namespace {

class Focus : public testing::Test {
protected:
    Focus() {
        window_.resize(300, 120);
        window_.setAutoFillBackground(true);
        QPalette dark;
        dark.setColor(QPalette::Window, QColor(49, 49, 49));
        window_.setPalette(dark);
        camera_.setGeometry(20, 20, 100, 36);
        slider_.setGeometry(20, 70, 160, 16);
        switch_.setGeometry(200, 70, 40, 18);
        window_.show();
        QApplication::setActiveWindow(&window_);
        // An activated window focuses its first control.
        if (QWidget* first = QApplication::focusWidget()) first->clearFocus();
    }

    static bool ringOf(QWidget& control) {
        const auto* ring = control.findChild<FocusRing*>();
        return ring != nullptr && ring->isVisible();
    }

    // Presses Tab until the control has the focus.
    static void tabTo(QWidget& control) {
        for (int presses = 0; presses < 5 && !control.hasFocus(); ++presses)
            QTest::keyClick(control.window(), Qt::Key_Tab);
        ASSERT_TRUE(control.hasFocus());
    }

    QWidget window_;
    KTCameraButton camera_{&window_};
    KTSlider slider_{&window_};
    KTSwitch switch_{&window_};
};

TEST_F(Focus, TabShowsTheRingAndMovesItOn) {
    tabTo(camera_);
    EXPECT_TRUE(ringOf(camera_));
    QTest::keyClick(&window_, Qt::Key_Tab);
    EXPECT_TRUE(slider_.hasFocus());
    EXPECT_FALSE(ringOf(camera_));
    EXPECT_TRUE(ringOf(slider_));
    QTest::keyClick(&window_, Qt::Key_Backtab);
    EXPECT_TRUE(ringOf(camera_));
    EXPECT_FALSE(ringOf(slider_));
}

TEST_F(Focus, AClickShowsNoRing) {
    QTest::mouseClick(&slider_, Qt::LeftButton);
    EXPECT_TRUE(slider_.hasFocus());
    EXPECT_FALSE(ringOf(slider_));
}

TEST_F(Focus, AKeyOnAClickedControlShowsTheRingAndAClickHidesIt) {
    QTest::mouseClick(&slider_, Qt::LeftButton);
    QTest::keyClick(&slider_, Qt::Key_Shift);
    EXPECT_FALSE(ringOf(slider_)) << "a modifier key alone does not count";
    QTest::keyClick(&slider_, Qt::Key_Right);
    EXPECT_TRUE(ringOf(slider_));
    QTest::mouseClick(&slider_, Qt::LeftButton);
    EXPECT_FALSE(ringOf(slider_));
}

TEST_F(Focus, FocusThatNoKeyGaveShowsNoRing) {
    for (const Qt::FocusReason reason : {Qt::OtherFocusReason, Qt::MouseFocusReason}) {
        tabTo(camera_);
        EXPECT_TRUE(ringOf(camera_));
        slider_.setFocus(reason);
        EXPECT_FALSE(ringOf(slider_)) << reason;
    }
}

TEST_F(Focus, TheRingComesBackWithTheWindow) {
    tabTo(camera_);
    QWidget other;
    other.show();
    QApplication::setActiveWindow(&other);
    EXPECT_FALSE(ringOf(camera_));
    QApplication::setActiveWindow(&window_);
    EXPECT_TRUE(camera_.hasFocus());
    EXPECT_TRUE(ringOf(camera_));
}

TEST_F(Focus, ADisabledOrHiddenControlShowsNoRing) {
    tabTo(camera_);
    camera_.setEnabled(false);
    EXPECT_FALSE(ringOf(camera_));
    tabTo(slider_);
    slider_.hide();
    EXPECT_FALSE(ringOf(slider_));
}

TEST_F(Focus, TheRingLiesAroundTheControlAndFollowsIt) {
    tabTo(camera_);
    camera_.move(60, 30);
    const QImage image = window_.grab().toImage().convertToFormat(QImage::Format_ARGB32);
    const QColor background(49, 49, 49);
    EXPECT_GT(image.pixelColor(60 - 3, 48).red(), 180) << "left";
    EXPECT_GT(image.pixelColor(160 + 2, 48).red(), 180) << "right";
    EXPECT_GT(image.pixelColor(110, 30 - 3).red(), 180) << "top";
    EXPECT_GT(image.pixelColor(110, 66 + 2).red(), 180) << "bottom";
    EXPECT_EQ(image.pixelColor(60 - 1, 48), background) << "there is a gap between ring and control";
    EXPECT_EQ(image.pixelColor(20 - 3, 48), background) << "the old ring is gone";
}

TEST_F(Focus, TheRingTakesNoClicks) {
    tabTo(camera_);
    EXPECT_EQ(window_.childAt(60, 38), &camera_);
    EXPECT_EQ(window_.childAt(18, 38), nullptr);
}

TEST_F(Focus, ControlsCanBeDestroyedWhileTheRingShows) {
    auto* passing = new KTSwitch(&window_);
    passing->show();
    tabTo(*passing);
    ASSERT_TRUE(ringOf(*passing));
    const auto siblings = window_.findChildren<QWidget*>().size();
    delete passing;
    EXPECT_EQ(window_.findChildren<QWidget*>().size(), siblings - 2) << "the control and its ring are gone";
}

TEST_F(Focus, AWindowThatBecomesActiveShowsNoRingBeforeAKeyIsPressed) {
    QWidget window;
    window.resize(200, 60);
    KTCameraButton first(&window);
    first.setGeometry(20, 12, 100, 36);
    window.show();
    QApplication::setActiveWindow(&window);
    ASSERT_TRUE(first.hasFocus());
    EXPECT_FALSE(ringOf(first));
    QTest::keyClick(&first, Qt::Key_Space);
    EXPECT_TRUE(ringOf(first));
}

TEST_F(Focus, ADisabledControlPassesOnTheFocusWithoutARing) {
    QTest::mouseClick(&slider_, Qt::LeftButton);
    slider_.setEnabled(false);
    ASSERT_TRUE(switch_.hasFocus());
    EXPECT_FALSE(ringOf(switch_));
}

TEST_F(Focus, ADisabledControlPassesOnItsRingWithTheFocus) {
    tabTo(slider_);
    slider_.setEnabled(false);
    ASSERT_TRUE(switch_.hasFocus());
    EXPECT_TRUE(ringOf(switch_));
}

TEST_F(Focus, MovingAControlToAnotherParentMovesItsRing) {
    QWidget other;
    other.resize(200, 100);
    tabTo(switch_);
    switch_.setParent(&other);
    EXPECT_FALSE(ringOf(switch_));
    other.show();
    switch_.show();
    QApplication::setActiveWindow(&other);
    EXPECT_FALSE(ringOf(switch_)) << "no key has been pressed in that window yet";
    switch_.clearFocus();
    tabTo(switch_);
    EXPECT_TRUE(ringOf(switch_));
    switch_.setParent(&window_);
}

} // namespace
} // namespace tavelo
