// SPDX-License-Identifier: MIT
#include "panel/panel_view.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QFocusFrame>
#include <QTest>
#include <initializer_list>
#include <vector>

#include "app/resources/resource_bundle.h"
#include "video/kt_display_view.h"
#include "widgets/image_view.h"
#include "widgets/kt_camera_button.h"
#include "widgets/kt_check_button.h"
#include "widgets/kt_profile_button.h"
#include "widgets/kt_slider.h"
#include "widgets/kt_switch.h"
#include "widgets/kt_text.h"

namespace tavelo {
namespace {

class PanelLook : public testing::Test {
protected:
    PanelLook() {
        view_.resize(1111, 660);
        view_.grab();
    }

    // The bounding rectangle of everything in `area` that is not the panel's background.
    QRect ink(const QRect& area) {
        const QImage image = view_.grab(area).toImage();
        QRect bounds;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (image.pixelColor(x, y) != QColor(38, 38, 38)) bounds |= QRect(x, y, 1, 1);
            }
        }
        return bounds.translated(area.topLeft());
    }

    ResourceBundle bundle_{{"en"}};
    PanelView view_{bundle_, nullptr};
};

TEST_F(PanelLook, HalfPointsOfTheMirrorRowGoUpTowardsItsTexts) {
    const QRect title = view_.mirrorTitleText()->geometry();
    ASSERT_EQ(title.height() % 2, 1) << "this test needs half points";
    const int top = title.top() + (title.height() - 18) / 2 + 1;
    EXPECT_EQ(view_.mirrorSwitch()->geometry(), QRect(title.width() + 64, top, 40, 18));
    EXPECT_EQ(view_.hz50Button()->y(), top);
    EXPECT_EQ(view_.hz60Button()->y(), top);
}

TEST_F(PanelLook, LogoAndWindowButtonsReachTheRightEdgeOfThePreviewColumn) {
    const int right = view_.profile4Button()->geometry().right();
    EXPECT_EQ(ink(view_.logoImageView()->geometry()).right(), right);
    EXPECT_EQ(ink(view_.closeButton()->geometry()).right(), right);
}

// The panel's right edge at 515 points is not a whole number of pixels here.
TEST_F(PanelLook, TheSettingsPanelHasASharpEdgeAtAScaleFactorOfOneAndAHalf) {
    QImage image(1667, 990, QImage::Format_RGB32);
    image.setDevicePixelRatio(1.5);
    image.fill(Qt::black);
    view_.render(&image, {}, {}, QWidget::RenderFlags());
    for (int x = 760; x < 790; ++x) {
        const QColor color = image.pixelColor(x, 600);
        EXPECT_TRUE(color == QColor(49, 49, 49) || color == QColor(38, 38, 38)) << x << ": " << color.red();
    }
}

TEST_F(PanelLook, TheSettingsPanelIsSquareUnderTheCameraTabs) {
    EXPECT_EQ(view_.settingBackgroundView(), QRectF(30, 124, 485, 506));
    EXPECT_EQ(view_.settingBackgroundView_leftTop(), QRectF(30, 124, 242.5, 253));
    const QImage image = view_.grab().toImage();
    EXPECT_EQ(image.pixelColor(30, 126), QColor(49, 49, 49));
    EXPECT_EQ(image.pixelColor(514, 126), QColor(38, 38, 38)) << "the other corners are round";
}

TEST_F(PanelLook, CameraButtonsAreDisabledUntilThereIsACamera) {
    EXPECT_FALSE(view_.camera1Button()->isEnabled());
    EXPECT_FALSE(view_.camera2Button()->isEnabled());
}

TEST_F(PanelLook, NoFocusRingShowsBeforeAKeyIsPressed) {
    const auto rings = [this] { return view_.findChildren<QFocusFrame*>().size(); };
    view_.show();
    QApplication::setActiveWindow(&view_);
    ASSERT_NE(QApplication::focusWidget(), nullptr);
    EXPECT_EQ(rings(), 0);
    QTest::mouseClick(view_.zoomSlider(), Qt::LeftButton);
    for (const SliderRow& row : view_.rows())
        row.slider->setEnabled(false);
    ASSERT_NE(QApplication::focusWidget(), nullptr);
    EXPECT_EQ(rings(), 0) << "unplugging a camera must not show a ring";
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(rings(), 1);
}

TEST_F(PanelLook, TabGoesThroughTheSettingsFromTopToBottomAndThenThroughThePreviewsColumn) {
    std::vector<QWidget*> expected{view_.camera1Button(), view_.camera2Button()};
    for (auto row = view_.rows().rbegin(); row != view_.rows().rend(); ++row)
        expected.push_back(row->slider); // the first row is the lowest, as the layout counts upwards
    for (QWidget* each :
         std::initializer_list<QWidget*>{view_.mirrorSwitch(), view_.hz50Button(), view_.hz60Button()})
        expected.push_back(each);
    for (QWidget* button : view_.profileButtons())
        expected.push_back(button);
    for (QWidget* each :
         {view_.saveProfileButton(), view_.restoreProfileButton(), view_.minButton(), view_.closeButton()})
        expected.push_back(each);
    for (QWidget* each : expected)
        each->setEnabled(true);
    view_.show();
    QApplication::setActiveWindow(&view_);
    view_.camera1Button()->setFocus();
    std::vector<QWidget*> visited;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        visited.push_back(QApplication::focusWidget());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(visited, expected);
    EXPECT_EQ(QApplication::focusWidget(), view_.camera1Button());
    for (std::size_t i = 1; i < panelRowCount; ++i)
        EXPECT_GT(view_.rows()[i - 1].slider->y(), view_.rows()[i].slider->y());
}

TEST_F(PanelLook, TheWindowIsTransparentOutsideItsRoundCorners) {
    view_.setAttribute(Qt::WA_TranslucentBackground);
    const QImage image = view_.grab().toImage();
    const int right = image.width() - 1;
    const int bottom = image.height() - 1;
    for (const QPoint corner : {QPoint(0, 0), QPoint(right, 0), QPoint(0, bottom), QPoint(right, bottom)})
        EXPECT_EQ(image.pixelColor(corner).alpha(), 0) << corner.x() << ", " << corner.y();
    EXPECT_EQ(image.pixelColor(16, 0), QColor(38, 38, 38));
    EXPECT_EQ(image.pixelColor(0, 16), QColor(38, 38, 38));
}

} // namespace
} // namespace tavelo
