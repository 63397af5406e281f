// SPDX-License-Identifier: MIT
// The picture alone on the whole screen, and the window above all others.
#include <QScreen>

#include "integration/features_fixture.h"
#include "video/kt_display_view.h"
#include "widgets/image_view.h"

namespace tavelo {
namespace {

class PanelFullScreen : public FeaturesTest {
protected:
    void doubleClickOnPreview() {
        const QWidget* preview = view().displayView();
        QTest::mouseDClick(window_.windowHandle(), Qt::LeftButton, {},
                           preview->mapTo(&window_, preview->rect().center()));
    }
    void press(Qt::Key key) { QTest::keyClick(&window_, key); }

    void expectAlone() {
        EXPECT_TRUE(window_.isFullScreen());
        EXPECT_TRUE(waitFor([this] { return window_.size() == window_.screen()->size(); }));
        EXPECT_EQ(view().displayView()->geometry(), view().rect());
        EXPECT_FALSE(view().brightnessSlider()->isVisible());
        EXPECT_FALSE(view().closeButton()->isVisible());
    }
    void expectPanel() {
        EXPECT_FALSE(window_.isFullScreen());
        EXPECT_TRUE(waitFor([this] { return view().displayView()->geometry() == preview_; }));
        EXPECT_TRUE(view().brightnessSlider()->isVisible());
        EXPECT_TRUE(view().logoImageView()->isVisible());
    }

    const QRect preview_{545, 148, 536, 424};
};

TEST_F(PanelFullScreen, F11ShowsThePictureAloneAndThePanelAgain) {
    startWithFeatures(1);
    press(Qt::Key_F11);
    expectAlone();
    EXPECT_TRUE(entry("Full Screen")->isChecked());
    QApplication::activePopupWidget()->close();
    press(Qt::Key_F11);
    expectPanel();
    EXPECT_FALSE(entry("Full Screen")->isChecked());
}

TEST_F(PanelFullScreen, ADoubleClickOnThePreviewDoesTheSame) {
    startWithFeatures(1);
    doubleClickOnPreview();
    expectAlone();
    doubleClickOnPreview();
    expectPanel();
}

TEST_F(PanelFullScreen, ADoubleClickElsewhereDoesNothing) {
    startWithFeatures(1);
    QTest::mouseDClick(window_.windowHandle(), Qt::LeftButton, {}, QPoint(700, 15));
    QTest::mouseDClick(window_.windowHandle(), Qt::RightButton, {}, preview_.center());
    expectPanel();
}

TEST_F(PanelFullScreen, EscapeEndsIt) {
    startWithFeatures(1);
    press(Qt::Key_Escape);
    expectPanel();
    press(Qt::Key_F11);
    press(Qt::Key_Escape);
    expectPanel();
    EXPECT_FALSE(entry("Full Screen")->isChecked());
}

TEST_F(PanelFullScreen, TheFocusAndTheControlsComeBack) {
    startWithFeatures(1);
    view().zoomSlider()->setFocus(Qt::TabFocusReason);
    QTest::keyClick(view().zoomSlider(), Qt::Key_Right); // shows the focus ring, an element of its own
    const int zoom = view().zoomSlider()->intValue();
    press(Qt::Key_F11);
    QTest::keyClick(&window_, Qt::Key_Right);
    press(Qt::Key_F11);
    EXPECT_EQ(window_.focusWidget(), view().zoomSlider());
    EXPECT_EQ(view().zoomSlider()->intValue(), zoom) << "a hidden slider gets no keys";
}

TEST_F(PanelFullScreen, TheWindowManagerMayEndItToo) {
    startWithFeatures(1);
    press(Qt::Key_F11);
    window_.showNormal();
    expectPanel();
}

TEST_F(PanelFullScreen, AStateOfBeforeThatIsToldLateChangesNothing) {
    startWithFeatures(1);
    press(Qt::Key_F11);
    window_.setWindowState(Qt::WindowNoState);
    EXPECT_TRUE(entry("Full Screen")->isChecked());
    QApplication::activePopupWidget()->close();
    window_.setWindowState(Qt::WindowFullScreen);
    expectAlone();
    press(Qt::Key_F11);
    window_.setWindowState(Qt::WindowFullScreen);
    EXPECT_FALSE(entry("Full Screen")->isChecked());
    QApplication::activePopupWidget()->close();
    window_.setWindowState(Qt::WindowNoState);
    expectPanel();
}

TEST_F(PanelFullScreen, TheWindowManagerMayBeginItToo) {
    startWithFeatures(1);
    window_.showFullScreen();
    expectAlone();
    press(Qt::Key_Escape);
    expectPanel();
}

TEST_F(PanelFullScreen, AClosedWindowComesBackWithThePanelInItsPlace) {
    startWithFeatures(1);
    window_.move(12, 34);
    const QRect place = window_.geometry();
    press(Qt::Key_F11);
    expectAlone();
    window_.close();
    EXPECT_FALSE(window_.isVisible());
    windowController_.makeKeyAndOrderFront();
    expectPanel();
    EXPECT_EQ(window_.geometry(), place);
    EXPECT_FALSE(entry("Full Screen")->isChecked());
}

TEST_F(PanelFullScreen, AMinimisedWindowComesBackInIt) {
    startWithFeatures(1);
    press(Qt::Key_F11);
    windowController_.miniaturize();
    EXPECT_TRUE(window_.isMinimized());
    windowController_.makeKeyAndOrderFront();
    EXPECT_FALSE(window_.isMinimized());
    expectAlone();
}

TEST_F(PanelFullScreen, ThePictureGoesOn) {
    startWithFeatures(1);
    press(Qt::Key_F11);
    const auto before = panel().displayView()->mtkView()->drawnFrames();
    EXPECT_TRUE(waitFor([&] { return panel().displayView()->mtkView()->drawnFrames() > before + 2; }));
}

TEST_F(PanelFullScreen, AlwaysOnTopKeepsTheNativeWindow) {
    startWithFeatures(1);
    const QWindow* native = window_.windowHandle();
    choose("Always on Top");
    EXPECT_TRUE(window_.windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(window_.windowFlags().testFlag(Qt::WindowStaysOnTopHint)) << "also when it is shown again";
    EXPECT_EQ(window_.windowHandle(), native);
    EXPECT_TRUE(window_.isVisible());
    EXPECT_TRUE(entry("Always on Top")->isChecked());
    choose("Always on Top");
    EXPECT_FALSE(window_.windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
}

} // namespace
} // namespace tavelo
