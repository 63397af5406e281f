// SPDX-License-Identifier: MIT
#include "widgets/kt_camera_button.h"

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTest>

#include "widgets/palette.h"

#include "picture.h"

namespace tavelo {
namespace {

constexpr QSize size(100, 36);

class CameraButton : public testing::Test {
protected:
    CameraButton() {
        QFont font(QStringLiteral("Arial"));
        font.setPixelSize(20);
        button_.setFont(font);
    }

    QColor face() { return drawn(button_, size).pixelColor(50, 3); }

    KTCameraButton button_;
};

TEST_F(CameraButton, IsUnselectedWithoutABorderAtFirst) {
    const KTCameraButton button(QRect(1, 2, 30, 20));
    EXPECT_FALSE(button.selected());
    EXPECT_FALSE(button.borderColor().has_value());
    EXPECT_EQ(button.geometry(), QRect(1, 2, 30, 20));
}

TEST_F(CameraButton, HasALighterFaceWhenSelected) {
    EXPECT_EQ(face(), palette::cameraButtonGrey);
    button_.setSelected(true);
    EXPECT_EQ(face(), palette::cameraButtonSelectedGrey);
}

TEST_F(CameraButton, DrawsTheUnselectedFaceAndAGreyTitleWhenDisabledAndSelected) {
    button_.setText(QStringLiteral("Cam 1"));
    button_.setSelected(true);
    button_.setEnabled(false);
    EXPECT_EQ(face(), palette::cameraButtonGrey);
    const QImage image = drawn(button_, size);
    EXPECT_TRUE(contains(image, palette::disabledTextGrey));
    EXPECT_FALSE(contains(image, Qt::white));
}

TEST_F(CameraButton, RoundsThreeCornersAndKeepsTheLowerLeftOneSquare) {
    const QImage image = drawn(button_, size);
    EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);
    EXPECT_EQ(image.pixelColor(99, 0).alpha(), 0);
    EXPECT_EQ(image.pixelColor(99, 35).alpha(), 0);
    EXPECT_EQ(image.pixelColor(0, 35), palette::cameraButtonGrey);
    EXPECT_EQ(image.pixelColor(0, 18), palette::cameraButtonGrey);
}

TEST_F(CameraButton, RoundsWithARadiusOfTenPoints) {
    const QImage image = drawn(button_, size, 2);
    // With a radius of 20 pixels the edge crosses the corner's diagonal 5.86 pixels from both sides.
    EXPECT_EQ(image.pixelColor(4, 4).alpha(), 0);
    EXPECT_EQ(image.pixelColor(7, 7).alpha(), 255);
    EXPECT_EQ(image.pixelColor(20, 0).alpha(), 255);
    EXPECT_LT(image.pixelColor(12, 0).alpha(), 255);
}

TEST_F(CameraButton, DrawsItsTitleWhiteWithAShadowToTheLowerRight) {
    const QImage bare = drawn(button_, size);
    button_.setText(QStringLiteral("Cam 1"));
    const QImage image = drawn(button_, size);
    EXPECT_TRUE(contains(image, Qt::white));
    // The shadow ends two points further to the right and bottom than the text.
    QRect text;
    QRect all;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const int difference = image.pixelColor(x, y).red() - bare.pixelColor(x, y).red();
            if (difference > 0) text |= QRect(x, y, 1, 1);
            if (difference != 0) all |= QRect(x, y, 1, 1);
        }
    }
    EXPECT_EQ(all.topLeft(), text.topLeft());
    EXPECT_EQ(all.bottomRight() - text.bottomRight(), QPoint(2, 2));
    EXPECT_NEAR(text.center().x(), 50, 2);
    EXPECT_NEAR(text.center().y(), 18, 2);
}

TEST_F(CameraButton, DrawsAnOutlineIfItHasABorderColour) {
    button_.setBorderColor(QColor(Qt::yellow));
    const QImage image = drawn(button_, size, 2);
    EXPECT_EQ(image.pixelColor(100, 0), QColor(Qt::yellow));
    EXPECT_EQ(image.pixelColor(199, 36), QColor(Qt::yellow));
    EXPECT_EQ(image.pixelColor(100, 2), palette::cameraButtonGrey);
}

TEST_F(CameraButton, EmitsClicksAndLeavesTheSelectionToTheOwner) {
    button_.resize(size);
    QSignalSpy clicks(&button_, &KTCameraButton::clicked);
    QTest::mouseClick(&button_, Qt::LeftButton);
    EXPECT_EQ(clicks.count(), 1);
    EXPECT_FALSE(button_.selected());
}

} // namespace
} // namespace tavelo
