// SPDX-License-Identifier: MIT
#include "widgets/kt_check_button.h"

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTest>

#include "widgets/palette.h"

#include "picture.h"

namespace tavelo {
namespace {

TEST(KTCheckButton, IsGreyWhenUncheckedAndRedWhenChecked) {
    KTCheckButton button;
    EXPECT_FALSE(button.check());
    EXPECT_EQ(drawn(button, {18, 18}).pixelColor(9, 9), palette::trackGrey);
    button.setCheck(true);
    EXPECT_EQ(drawn(button, {18, 18}).pixelColor(9, 9), palette::accentRed);
}

TEST(KTCheckButton, IsACircleInsetByHalfAPoint) {
    KTCheckButton button;
    const QImage image = drawn(button, {18, 18}, 2);
    EXPECT_EQ(inkBounds(image), QRect(1, 1, 34, 34));
    EXPECT_TRUE(similar(image.pixelColor(1, 18), palette::outlineGrey));
    EXPECT_TRUE(similar(image.pixelColor(18, 1), palette::outlineGrey));
    EXPECT_TRUE(similar(image.pixelColor(18, 34), palette::outlineGrey));
    EXPECT_EQ(image.pixelColor(4, 4).alpha(), 0);
}

TEST(KTCheckButton, TakesItsDiameterFromTheHeightOfAWiderView) {
    KTCheckButton button;
    EXPECT_EQ(inkBounds(drawn(button, {40, 18}, 2)), QRect(1, 1, 34, 34));
}

TEST(KTCheckButton, DrawsNoTitle) {
    KTCheckButton button;
    const QImage bare = drawn(button, {60, 18});
    button.setText(QStringLiteral("50 Hz"));
    EXPECT_EQ(drawn(button, {60, 18}), bare);
}

TEST(KTCheckButton, EmitsClicksAndLeavesItsStateToTheOwner) {
    KTCheckButton button;
    button.resize(18, 18);
    QSignalSpy clicks(&button, &KTCheckButton::clicked);
    QTest::mouseClick(&button, Qt::LeftButton);
    QTest::keyClick(&button, Qt::Key_Space);
    EXPECT_EQ(clicks.count(), 2);
    EXPECT_FALSE(button.check());
    button.setCheck(true);
    QTest::mouseClick(&button, Qt::LeftButton);
    EXPECT_EQ(clicks.count(), 3) << "also if it is already checked";
    EXPECT_TRUE(button.check());
}

} // namespace
} // namespace tavelo
