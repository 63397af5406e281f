// SPDX-License-Identifier: MIT
#include "widgets/kt_switch.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QKeyEvent>
#include <QSignalSpy>
#include <QTest>

#include "widgets/palette.h"

#include "picture.h"

namespace tavelo {
namespace {

constexpr QSize size(40, 18);

TEST(KTSwitch, IsOffAtFirst) {
    EXPECT_FALSE(KTSwitch().on());
}

TEST(KTSwitch, ShowsARoundKnobAtTheLeftWhenOff) {
    KTSwitch mirror;
    const QImage image = drawn(mirror, size, 2);
    EXPECT_TRUE(similar(image.pixelColor(18, 18), palette::accentRed));
    EXPECT_TRUE(similar(image.pixelColor(0, 18), palette::outlineGrey));
    EXPECT_TRUE(similar(image.pixelColor(35, 18), palette::outlineGrey));
    EXPECT_TRUE(similar(image.pixelColor(18, 34), palette::accentRed));
    EXPECT_TRUE(similar(image.pixelColor(80 - 18, 18), palette::trackGrey));
    EXPECT_TRUE(similar(image.pixelColor(33, 4), palette::trackGrey))
        << "this pixel is outside a disc but would be inside a square";
}

TEST(KTSwitch, ShowsTheKnobFlushRightWhenOn) {
    KTSwitch mirror;
    mirror.setOn(true);
    const QImage image = drawn(mirror, size, 2);
    EXPECT_TRUE(similar(image.pixelColor(18, 18), palette::trackGrey));
    EXPECT_TRUE(similar(image.pixelColor(80 - 18, 18), palette::accentRed));
    EXPECT_TRUE(similar(image.pixelColor(79, 18), palette::outlineGrey));
    EXPECT_TRUE(similar(image.pixelColor(80 - 36, 18), palette::outlineGrey));
}

TEST(KTSwitch, IsAPill) {
    KTSwitch mirror;
    const QImage image = drawn(mirror, size, 2);
    EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);
    EXPECT_EQ(image.pixelColor(79, 0).alpha(), 0);
    EXPECT_EQ(image.pixelColor(0, 35).alpha(), 0);
    EXPECT_TRUE(similar(image.pixelColor(40, 0), palette::outlineGrey));
    EXPECT_TRUE(similar(image.pixelColor(40, 35), palette::outlineGrey));
}

TEST(KTSwitch, EmitsClicksAndLeavesItsStateToTheOwner) {
    KTSwitch mirror;
    mirror.resize(size);
    QSignalSpy clicks(&mirror, &KTSwitch::clicked);
    QTest::mouseClick(&mirror, Qt::LeftButton);
    EXPECT_EQ(clicks.count(), 1);
    EXPECT_FALSE(mirror.on());
}

TEST(KTSwitch, TakesSpaceAndEnter) {
    KTSwitch mirror;
    QSignalSpy clicks(&mirror, &KTSwitch::clicked);
    QTest::keyClick(&mirror, Qt::Key_Space);
    EXPECT_EQ(clicks.count(), 1);
    QTest::keyClick(&mirror, Qt::Key_Return);
    QTest::keyClick(&mirror, Qt::Key_Enter);
    EXPECT_EQ(clicks.count(), 3);
    EXPECT_FALSE(mirror.on());
}

TEST(KTSwitch, AHeldKeyIsOneClickAndOtherKeysAreNone) {
    KTSwitch mirror;
    QSignalSpy clicks(&mirror, &KTSwitch::clicked);
    for (const bool again : {false, true, true}) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), again);
        QApplication::sendEvent(&mirror, &press);
    }
    QTest::keyClick(&mirror, Qt::Key_A);
    EXPECT_EQ(clicks.count(), 1);
}

TEST(KTSwitch, DoesNothingWhileDisabled) {
    KTSwitch mirror;
    mirror.setEnabled(false);
    QSignalSpy clicks(&mirror, &KTSwitch::clicked);
    QTest::mouseClick(&mirror, Qt::LeftButton);
    QTest::keyClick(&mirror, Qt::Key_Space);
    QTest::keyClick(&mirror, Qt::Key_Return);
    EXPECT_EQ(clicks.count(), 0);
}

} // namespace
} // namespace tavelo
