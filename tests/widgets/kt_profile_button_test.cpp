// SPDX-License-Identifier: MIT
#include "widgets/kt_profile_button.h"

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTest>

#include "widgets/palette.h"

#include "picture.h"

namespace tavelo {
namespace {

constexpr QSize size(119, 32);

Image plain(const QColor& color, QSize imageSize = {20, 10}) {
    QImage pixels(imageSize, QImage::Format_ARGB32_Premultiplied);
    pixels.fill(color);
    return Image(pixels);
}

class ProfileButton : public testing::Test {
protected:
    ProfileButton() {
        QFont font(QStringLiteral("Arial"));
        font.setPixelSize(10);
        button_.setFont(font);
    }

    QColor middle() { return drawn(button_, size).pixelColor(59, 16); }

    KTProfileButton button_;
};

TEST_F(ProfileButton, IsOffWithStretchedImageAndNoTextColourAtFirst) {
    EXPECT_EQ(button_.state(), 0);
    EXPECT_EQ(button_.imageContentMode(), 0);
    EXPECT_FALSE(button_.textColor().isValid());
    EXPECT_TRUE(button_.image().isNull());
}

TEST_F(ProfileButton, DrawsNothingWithoutImageAndTitle) {
    EXPECT_TRUE(inkBounds(drawn(button_, size)).isNull());
}

TEST_F(ProfileButton, StretchesItsImageToTheBounds) {
    button_.setImage(plain(Qt::blue));
    EXPECT_EQ(inkBounds(drawn(button_, size)), QRect(0, 0, 119, 32));
}

TEST_F(ProfileButton, CentresItsImageAtNaturalSizeInAnyOtherContentMode) {
    button_.setImage(plain(Qt::blue));
    for (const int mode : {1, 7, -1}) {
        button_.setImageContentMode(mode);
        EXPECT_EQ(inkBounds(drawn(button_, {30, 30})), QRect(5, 10, 20, 10)) << mode;
    }
}

TEST_F(ProfileButton, ShowsItsAlternateImageInStateOneOnly) {
    button_.setImage(plain(Qt::blue));
    button_.setAlternateImage(plain(Qt::green));
    EXPECT_EQ(middle(), QColor(Qt::blue));
    button_.setState(1);
    EXPECT_EQ(middle(), QColor(Qt::green));
    button_.setState(-1); // mixed
    EXPECT_EQ(middle(), QColor(Qt::blue));
}

TEST_F(ProfileButton, ShowsItsNormalImageInStateOnWithoutAnAlternateImage) {
    button_.setImage(plain(Qt::blue));
    button_.setState(1);
    EXPECT_EQ(middle(), QColor(Qt::blue));
}

TEST_F(ProfileButton, DimsItsImageWhileDisabled) {
    button_.setImage(plain(Qt::blue));
    button_.resize(size);
    const auto shown = [this] {
        QImage screen(size, QImage::Format_RGB32);
        screen.fill(Qt::black);
        button_.render(&screen, {}, {}, QWidget::RenderFlags());
        return screen.pixelColor(59, 16);
    };
    EXPECT_EQ(shown(), QColor(Qt::blue));
    button_.setEnabled(false);
    EXPECT_TRUE(similar(shown(), QColor(0, 0, 102), 1)) << shown();
}

TEST_F(ProfileButton, DrawsItsTitleOverTheImageInItsTextColour) {
    button_.setImage(plain(QColor(40, 40, 40)));
    button_.setText(QStringLiteral("PROFILE 1"));
    button_.setTextColor(Qt::white);
    EXPECT_TRUE(contains(drawn(button_, size), Qt::white, 40));
}

TEST_F(ProfileButton, DrawsAGreyTitleWhenDisabled) {
    QFont large = button_.font();
    large.setPixelSize(30); // large enough for fully covered pixels
    button_.setFont(large);
    button_.setText(QStringLiteral("HHH"));
    button_.setTextColor(Qt::white);
    button_.setEnabled(false);
    const QImage image = drawn(button_, size);
    EXPECT_TRUE(contains(image, palette::disabledTextGrey, 4));
    EXPECT_FALSE(contains(image, Qt::white, 100));
}

TEST_F(ProfileButton, CentresItsTitleWithoutAShadow) {
    button_.setText(QStringLiteral("HHHH"));
    button_.setTextColor(Qt::white);
    const QImage image = drawn(button_, size);
    const QRect ink = inkBounds(image);
    EXPECT_NEAR(ink.center().x(), 59, 1);
    EXPECT_NEAR(ink.center().y(), 16, 2); // capitals lie above the middle of their line
    for (int y = ink.top(); y <= ink.bottom(); ++y) {
        for (int x = ink.left(); x <= ink.right(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            EXPECT_TRUE(pixel.alpha() < 64 || pixel.red() > 200) << x << ' ' << y;
        }
    }
}

TEST_F(ProfileButton, EmitsClicksAndLeavesItsStateToTheOwner) {
    button_.resize(size);
    QSignalSpy clicks(&button_, &KTProfileButton::clicked);
    QTest::mouseClick(&button_, Qt::LeftButton);
    QTest::keyClick(&button_, Qt::Key_Space);
    EXPECT_EQ(clicks.count(), 2);
    EXPECT_EQ(button_.state(), 0);
}

} // namespace
} // namespace tavelo
