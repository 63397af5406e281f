// SPDX-License-Identifier: MIT
#include "widgets/kt_slider.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>
#include <vector>

#include "widgets/palette.h"

#include "picture.h"

namespace tavelo {
namespace {

constexpr QSize size(360, 16);
constexpr QPoint middle(180, 8);

// The horizontal extent of the knob's red, in points.
std::pair<int, int> redExtent(KTSlider& slider) {
    const QImage image = drawn(slider, size);
    int left = -1;
    int right = -1;
    for (int x = 0; x < image.width(); ++x) {
        if (image.pixelColor(x, 8) != palette::accentRed) continue;
        if (left < 0) left = x;
        right = x;
    }
    return {left, right};
}

class ShownSlider : public testing::Test {
protected:
    ShownSlider() {
        window_.resize(400, 60);
        slider_.setGeometry(20, 20, size.width(), size.height());
        slider_.setMinValue(0);
        slider_.setMaxValue(344); // one unit per point: the knob moves over 360 - 16 points
        window_.show();
        QApplication::setActiveWindow(&window_);
        QObject::connect(&slider_, &KTSlider::action, &slider_,
                         [this] { values_.push_back(slider_.floatValue()); });
    }

    void drag(const QPointF& to, Qt::MouseButtons buttons = Qt::LeftButton) {
        QMouseEvent event(QEvent::MouseMove, to, slider_.mapToGlobal(to), Qt::NoButton, buttons,
                          Qt::NoModifier);
        QApplication::sendEvent(&slider_, &event);
    }

    bool turnWheel(int eighths, QPoint sideways = {}) {
        const QPointF at(middle);
        QWheelEvent event(at, slider_.mapToGlobal(at), {}, sideways + QPoint(0, eighths), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        event.ignore();
        QApplication::sendEvent(&slider_, &event);
        return event.isAccepted();
    }

    QWidget window_;
    KTSlider slider_{&window_};
    std::vector<double> values_; // one per action
};

TEST(KTSlider, RangesFromZeroToOneAtFirst) {
    const KTSlider slider(QRect(3, 4, 50, 16));
    EXPECT_EQ(slider.minValue(), 0);
    EXPECT_EQ(slider.maxValue(), 1);
    EXPECT_EQ(slider.floatValue(), 0);
    EXPECT_EQ(slider.geometry(), QRect(3, 4, 50, 16));
    EXPECT_FALSE(slider.trackingArea().has_value());
}

TEST(KTSlider, SetIntValueClampsToTheRange) {
    KTSlider slider;
    slider.setMaxValue(100);
    slider.setIntValue(150);
    EXPECT_EQ(slider.floatValue(), 100);
    slider.setIntValue(-7);
    EXPECT_EQ(slider.floatValue(), 0);
    slider.setIntValue(42);
    EXPECT_EQ(slider.intValue(), 42);
}

TEST(KTSlider, SetIntValueStoresTheEndsOfTheRangeWithoutTheirFractions) {
    KTSlider slider;
    slider.setMinValue(-2.75);
    slider.setMaxValue(10.75);
    slider.setIntValue(11);
    EXPECT_EQ(slider.floatValue(), 10);
    slider.setIntValue(-3);
    EXPECT_EQ(slider.floatValue(), -2);
    slider.setIntValue(10);
    EXPECT_EQ(slider.floatValue(), 10);
}

TEST(KTSlider, TakesARangeWhoseEndsAreSetOneAfterTheOther) {
    KTSlider slider;
    slider.setMinValue(2800);
    slider.setMaxValue(6500);
    slider.setIntValue(4600);
    EXPECT_EQ(slider.intValue(), 4600);
    slider.setMinValue(-10);
    slider.setMaxValue(10);
    EXPECT_EQ(slider.floatValue(), 10) << "the value follows the range";
}

TEST(KTSlider, IntValueIsTheNearestWholeNumber) {
    KTSlider slider;
    slider.setMinValue(-10);
    slider.setMaxValue(10);
    slider.setFloatValue(4.6);
    EXPECT_EQ(slider.intValue(), 5);
    slider.setFloatValue(-4.6);
    EXPECT_EQ(slider.intValue(), -5);
}

TEST(KTSlider, DrawsTheKnobAtTheLeftEndForTheMinimum) {
    KTSlider slider;
    const auto [left, right] = redExtent(slider);
    EXPECT_EQ(left, 1); // inside the outline
    EXPECT_EQ(right, 14);
}

TEST(KTSlider, DrawsTheKnobAtTheRightEndForTheMaximum) {
    KTSlider slider;
    slider.setFloatValue(1);
    const auto [left, right] = redExtent(slider);
    EXPECT_EQ(left, 360 - 15);
    EXPECT_EQ(right, 360 - 2);
}

TEST(KTSlider, DrawsTheKnobInProportionInBetween) {
    KTSlider slider;
    slider.setMinValue(-10);
    slider.setMaxValue(10);
    slider.setIntValue(-5);
    const auto [left, right] = redExtent(slider);
    EXPECT_EQ(left, 344 / 4 + 1);
    EXPECT_EQ(right, 344 / 4 + 14);
}

TEST(KTSlider, DrawsTheKnobAtTheLeftEndIfMinimumAndMaximumAreEqual) {
    KTSlider slider;
    slider.setMinValue(7);
    slider.setMaxValue(7);
    slider.setIntValue(7);
    EXPECT_EQ(redExtent(slider).first, 1);
}

TEST(KTSlider, DrawsAPillInTrackGreyWithAnOutline) {
    KTSlider slider;
    const QImage image = drawn(slider, size, 2);
    EXPECT_EQ(image.pixelColor(400, 16), palette::trackGrey);
    EXPECT_EQ(image.pixelColor(400, 0), palette::outlineGrey);
    EXPECT_EQ(image.pixelColor(400, 31), palette::outlineGrey);
    EXPECT_EQ(image.pixelColor(400, 2), palette::trackGrey);
    // Round ends: the corner is empty, and the edge follows a circle of radius h/2.
    EXPECT_EQ(image.pixelColor(719, 0).alpha(), 0);
    EXPECT_EQ(image.pixelColor(719, 31).alpha(), 0);
    EXPECT_EQ(image.pixelColor(714, 2).alpha(), 0);
    EXPECT_GE(image.pixelColor(714, 5).alpha(), 250);
    EXPECT_GE(image.pixelColor(719, 16).alpha(), 250);
}

TEST(KTSlider, OutlinesTheKnob) {
    KTSlider slider;
    slider.setFloatValue(0.5);
    const QImage image = drawn(slider, size, 2);
    EXPECT_EQ(image.pixelColor(344 + 16, 16), palette::accentRed);
    EXPECT_TRUE(similar(image.pixelColor(344, 16), palette::outlineGrey));
    EXPECT_TRUE(similar(image.pixelColor(344 + 31, 16), palette::outlineGrey));
    EXPECT_EQ(image.pixelColor(343, 16), palette::trackGrey);
}

TEST_F(ShownSlider, AClickOnTheTrackBringsTheMiddleOfTheKnobThere) {
    QTest::mousePress(&slider_, Qt::LeftButton, {}, QPoint(208, 8));
    EXPECT_EQ(values_, std::vector<double>{200});
    QTest::mouseRelease(&slider_, Qt::LeftButton, {}, QPoint(208, 8));
    EXPECT_EQ(values_, (std::vector<double>{200, 200}));
}

TEST_F(ShownSlider, SendsItsActionOnPressOnEveryMoveAndOnRelease) {
    QTest::mousePress(&slider_, Qt::LeftButton, {}, QPoint(108, 8));
    drag({118, 8});
    drag({118, 9}); // vertical moves count too
    drag({128.5, 8});
    QTest::mouseRelease(&slider_, Qt::LeftButton, {}, QPoint(128, 8));
    EXPECT_EQ(values_, (std::vector<double>{100, 110, 110, 120.5, 120.5}));
}

TEST_F(ShownSlider, DragsTheKnobByThePointThatWasPressed) {
    slider_.setIntValue(100); // the knob covers 100 to 116
    QTest::mousePress(&slider_, Qt::LeftButton, {}, QPoint(103, 8));
    EXPECT_EQ(values_, std::vector<double>{100}) << "a press on the knob must not move it";
    drag({113, 8});
    EXPECT_EQ(slider_.floatValue(), 110);
}

TEST_F(ShownSlider, FollowsTheDragBeyondItsEndsWithoutLeavingItsRange) {
    QTest::mousePress(&slider_, Qt::LeftButton, {}, middle);
    drag({-200, 90});
    EXPECT_EQ(slider_.floatValue(), 0);
    drag({2000, -90});
    EXPECT_EQ(slider_.floatValue(), 344);
    QTest::mouseRelease(&slider_, Qt::LeftButton, {}, middle);
}

TEST_F(ShownSlider, IgnoresOtherButtonsAndHovering) {
    QTest::mouseClick(&slider_, Qt::RightButton, {}, middle);
    drag({100, 8}, Qt::NoButton);
    EXPECT_TRUE(values_.empty());
}

TEST_F(ShownSlider, EndsADragWhenDisabled) {
    QTest::mousePress(&slider_, Qt::LeftButton, {}, QPoint(108, 8));
    slider_.setEnabled(false);
    slider_.setEnabled(true);
    drag({300, 8});
    EXPECT_EQ(slider_.floatValue(), 100);
}

TEST_F(ShownSlider, IsHeldFromPressToReleaseUnlessItsOwnerLetsGo) {
    EXPECT_FALSE(slider_.isHeld());
    QTest::mousePress(&slider_, Qt::LeftButton, {}, QPoint(108, 8));
    EXPECT_TRUE(slider_.isHeld());
    QTest::mouseRelease(&slider_, Qt::LeftButton, {}, QPoint(108, 8));
    EXPECT_FALSE(slider_.isHeld());

    QTest::mousePress(&slider_, Qt::LeftButton, {}, QPoint(108, 8));
    values_.clear();
    slider_.cancelDrag();
    EXPECT_FALSE(slider_.isHeld());
    drag({300, 8});
    QTest::mouseRelease(&slider_, Qt::LeftButton, {}, QPoint(300, 8));
    EXPECT_TRUE(values_.empty());
    EXPECT_EQ(slider_.floatValue(), 100);
}

TEST_F(ShownSlider, TellsTheEndOfEachDragOnceHoweverItEnds) {
    QSignalSpy ends(&slider_, &KTSlider::dragEnded);
    slider_.cancelDrag();
    EXPECT_EQ(ends.size(), 0) << "there was none";
    QTest::mousePress(&slider_, Qt::LeftButton, {}, middle);
    EXPECT_EQ(ends.size(), 0);
    QTest::mouseRelease(&slider_, Qt::LeftButton, {}, middle);
    EXPECT_EQ(ends.size(), 1);
    EXPECT_EQ(values_.size(), 2U) << "the action of the release comes first";
    QTest::mousePress(&slider_, Qt::LeftButton, {}, middle);
    slider_.cancelDrag();
    EXPECT_EQ(ends.size(), 2);
    QTest::mousePress(&slider_, Qt::LeftButton, {}, middle);
    slider_.setEnabled(false);
    EXPECT_EQ(ends.size(), 3);
    slider_.setEnabled(true);
    QTest::mousePress(&slider_, Qt::LeftButton, {}, middle);
    window_.hide();
    EXPECT_EQ(ends.size(), 4);
}

TEST_F(ShownSlider, MarksAValueUnderTheKnobsCentre) {
    const auto isMarked = [this](int value) {
        const QImage image = drawn(slider_, size);
        return image.pixelColor(value + size.height() / 2, 8) == palette::outlineGrey;
    };
    slider_.setIntValue(0);
    EXPECT_FALSE(isMarked(172));
    slider_.setMarkedValue(172);
    EXPECT_TRUE(isMarked(172));
    EXPECT_FALSE(isMarked(100));
    slider_.setIntValue(172);
    EXPECT_FALSE(isMarked(172)) << "the knob covers it";
    slider_.setIntValue(0);
    for (const int end : {0, 344}) {
        slider_.setIntValue(172);
        slider_.setMarkedValue(end);
        EXPECT_TRUE(isMarked(end));
    }
    slider_.setIntValue(0);
    slider_.setMarkedValue(345);
    EXPECT_FALSE(isMarked(344)) << "out of range";
    slider_.setMarkedValue({});
    EXPECT_FALSE(isMarked(172));
}

TEST_F(ShownSlider, DoesNothingWhileDisabled) {
    slider_.setEnabled(false);
    QTest::mouseClick(&slider_, Qt::LeftButton, {}, middle);
    QTest::keyClick(&slider_, Qt::Key_Right);
    EXPECT_TRUE(values_.empty());
}

TEST_F(ShownSlider, SettingAValueByProgramSendsNoAction) {
    slider_.setIntValue(12);
    slider_.setFloatValue(13);
    slider_.setMaxValue(5);
    EXPECT_TRUE(values_.empty());
}

TEST_F(ShownSlider, ArrowsStepByOneFromTheNearestWholeNumber) {
    slider_.setFloatValue(57.8);
    QTest::keyClick(&slider_, Qt::Key_Right);
    QTest::keyClick(&slider_, Qt::Key_Up);
    QTest::keyClick(&slider_, Qt::Key_Left);
    QTest::keyClick(&slider_, Qt::Key_Down);
    QTest::keyClick(&slider_, Qt::Key_Left);
    EXPECT_EQ(values_, (std::vector<double>{59, 60, 59, 58, 57}));
}

TEST_F(ShownSlider, PagesStepByATenthOfTheRangeAndHomeAndEndGoToTheEnds) {
    QTest::keyClick(&slider_, Qt::Key_PageUp);
    QTest::keyClick(&slider_, Qt::Key_PageUp);
    QTest::keyClick(&slider_, Qt::Key_PageDown);
    QTest::keyClick(&slider_, Qt::Key_End);
    QTest::keyClick(&slider_, Qt::Key_Right);
    QTest::keyClick(&slider_, Qt::Key_Home);
    EXPECT_EQ(values_, (std::vector<double>{34, 68, 34, 344, 344, 0}));
}

TEST_F(ShownSlider, PagesMoveAShortRangeByAtLeastOne) {
    slider_.setMaxValue(4);
    QTest::keyClick(&slider_, Qt::Key_PageUp);
    EXPECT_EQ(values_, std::vector<double>{1});
}

TEST_F(ShownSlider, PassesOtherKeysOn) {
    QKeyEvent key(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier);
    QApplication::sendEvent(&slider_, &key);
    EXPECT_FALSE(key.isAccepted());
    EXPECT_TRUE(values_.empty());
}

TEST_F(ShownSlider, TheWheelMovesItOnlyWhileFocused) {
    slider_.setIntValue(100);
    slider_.clearFocus();
    EXPECT_FALSE(turnWheel(120)) << "the event goes to the parent";
    EXPECT_TRUE(values_.empty());

    slider_.setFocus();
    EXPECT_TRUE(turnWheel(120));
    EXPECT_TRUE(turnWheel(-240));
    EXPECT_EQ(values_, (std::vector<double>{107, 93}));
}

TEST_F(ShownSlider, AFineWheelAddsUpToAStep) {
    slider_.setFocus();
    for (int i = 0; i < 3; ++i)
        turnWheel(30);
    EXPECT_TRUE(values_.empty());
    turnWheel(0, QPoint(30, 0));
    EXPECT_EQ(values_, std::vector<double>{7});
}

TEST_F(ShownSlider, APressWhileDisabledIsNotItsParents) {
    class Presses final : public QObject {
    public:
        std::vector<Qt::MouseButton> buttons;

    private:
        bool eventFilter(QObject* /*watched*/, QEvent* event) override {
            if (event->type() == QEvent::MouseButtonPress)
                buttons.push_back(static_cast<QMouseEvent*>(event)->button());
            return false;
        }
    };
    QWidget parent;
    KTSlider slider(&parent);
    slider.setGeometry(0, 0, 100, 20);
    slider.setEnabled(false);
    Presses presses;
    parent.installEventFilter(&presses);
    QTest::mouseClick(&slider, Qt::LeftButton, {}, {50, 10});
    EXPECT_TRUE(presses.buttons.empty()) << "it would begin to move the window";
    QTest::mouseClick(&slider, Qt::RightButton, {}, {50, 10});
    EXPECT_EQ(presses.buttons, std::vector{Qt::RightButton}) << "which opens the menu";
}

TEST_F(ShownSlider, LooksPaleWhileDisabled) {
    slider_.setIntValue(172);
    slider_.setEnabled(false);
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::black);
    slider_.render(&image, {}, {}, {});
    const QColor knob = image.pixelColor(middle);
    EXPECT_LT(knob.red(), palette::accentRed.red() * 2 / 3);
    EXPECT_GT(knob.red(), 2 * knob.green());
}

TEST_F(ShownSlider, ADoubleClickAsksForTheDefaultOnlyIfItsFirstPressWasOnTheKnob) {
    QSignalSpy wanted(&slider_, &KTSlider::defaultWanted);
    const auto doubleClick = [this](Qt::MouseButton button) {
        QTest::mouseClick(&slider_, button, {}, middle);
        QTest::mouseDClick(&slider_, button, {}, middle);
        QTest::mouseRelease(&slider_, button, {}, middle);
    };
    doubleClick(Qt::LeftButton); // moves the knob there
    EXPECT_EQ(wanted.size(), 0);
    EXPECT_EQ(slider_.intValue(), 172);
    doubleClick(Qt::LeftButton);
    EXPECT_EQ(wanted.size(), 1);
    EXPECT_EQ(slider_.intValue(), 172) << "the owner sets it";
    EXPECT_FALSE(slider_.isHeld());
    doubleClick(Qt::RightButton);
    EXPECT_EQ(wanted.size(), 1);
}

TEST_F(ShownSlider, StepsAreThoseOfTheWheel) {
    slider_.setIntValue(100);
    slider_.step(2);
    EXPECT_EQ(slider_.intValue(), 114); // 2 x 2 % of 344, rounded to 7 each
    slider_.step(-1);
    EXPECT_EQ(slider_.intValue(), 107);
    EXPECT_EQ(values_.size(), 2U);
}

} // namespace
} // namespace tavelo
