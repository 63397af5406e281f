// SPDX-License-Identifier: MIT
// Double clicks, typed numbers, the wheel and keys, and the tool tips that tell of them.
#include <QHelpEvent>
#include <QLineEdit>
#include <QSignalSpy>
#include <QToolTip>
#include <QWheelEvent>

#include "integration/features_fixture.h"
#include "panel/automatic_functions.h"

namespace tavelo {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class PanelHandsTest : public FeaturesTest {
protected:
    /// Sends mouse events through the window, like a real mouse.
    void doubleClick(const QWidget* widget, QPoint at, Qt::MouseButton button = Qt::LeftButton) {
        QTest::mouseDClick(window_.windowHandle(), button, {}, widget->mapTo(&window_, at));
    }
    void doubleClick(const QWidget* widget) { doubleClick(widget, widget->rect().center()); }

    QPoint knob(const KTSlider* slider) {
        return pointOf(
            slider, (slider->floatValue() - slider->minValue()) / (slider->maxValue() - slider->minValue()));
    }

    QLineEdit* openField() { return view().findChild<QLineEdit*>(); }
    void type(const char* text) {
        ASSERT_NE(openField(), nullptr);
        QTest::keyClicks(openField(), QLatin1String(text));
    }

    void pointAt(const QWidget* widget) {
        QTest::mouseMove(window_.windowHandle(), widget->mapTo(&window_, widget->rect().center()));
        QCoreApplication::processEvents();
    }
    void press(Qt::Key key) { QTest::keyClick(window_.windowHandle(), key); }

    /// The tip that appears when the mouse rests on it.
    std::string tip(QWidget* widget) {
        const QPoint at = widget->rect().center();
        QHelpEvent event(QEvent::ToolTip, at, widget->mapToGlobal(at));
        QApplication::sendEvent(widget, &event);
        return widget->toolTip().toStdString();
    }
};

TEST_F(PanelHandsTest, ADoubleClickOnTheKnobSetsTheDefault) {
    startWithFeatures(1);
    for (const auto& [row, value, standard] :
         {std::tuple{PanelRow::contrast, 50, 32}, {PanelRow::zoom, 300, 100}, {PanelRow::panUpDown, 7, 0}}) {
        KTSlider* slider = view().row(row).slider;
        slider->choose(value);
        doubleClick(slider, knob(slider));
        EXPECT_EQ(slider->intValue(), standard);
        EXPECT_EQ(view().row(row).valueText->text(), QString::number(standard));
        EXPECT_FALSE(slider->isHeld());
    }
    EXPECT_EQ(manager_.contrast()->val(), 32);
}

TEST_F(PanelHandsTest, ADoubleClickSendsNothingForAControlThatTheCameraLacks) {
    VirtualCameraModel model = virtualCameraModel(1);
    constexpr std::uint32_t zoom = 1U << 9; // its bit in bmControls
    ASSERT_NE(model.terminalControls & zoom, 0U);
    model.terminalControls &= ~zoom;
    backend_.bus->plug(model);
    startWithFeatures(0);
    ASSERT_TRUE(waitFor([this] { return view().zoomSlider()->isEnabled(); }));
    ASSERT_FALSE(manager_.zoom()->supported());
    QSignalSpy actions(view().zoomSlider(), &KTSlider::action);
    Q_EMIT view().zoomSlider()->defaultWanted();
    EXPECT_EQ(actions.size(), 0);
    Q_EMIT view().contrastSlider()->defaultWanted();
    EXPECT_EQ(view().contrastSlider()->intValue(), 32);
}

TEST_F(PanelHandsTest, ADoubleClickElsewhereOnTheTrackMovesTheKnobThere) {
    startWithFeatures(1);
    KTSlider* slider = view().contrastSlider();
    slider->choose(50);
    doubleClick(slider, pointOf(slider, 0.25)); // its first press moves the knob under the pointer
    EXPECT_EQ(slider->intValue(), 16);
}

TEST_F(PanelHandsTest, ANumberCanBeTypedIntoTheValueField) {
    startWithFeatures(1);
    doubleClick(view().brightnessValueText());
    ASSERT_NE(openField(), nullptr);
    EXPECT_EQ(openField()->geometry(), view().brightnessValueText()->geometry());
    EXPECT_TRUE(openField()->hasFocus());
    EXPECT_EQ(openField()->selectedText(), QStringLiteral("0")) << "typing replaces it";
    EXPECT_EQ(openField()->accessibleName(), QStringLiteral("Brightness"));
    type("-17");
    EXPECT_EQ(manager_.bright()->val(), 0) << "not before Enter";
    QTest::keyClick(openField(), Qt::Key_Return);
    EXPECT_EQ(manager_.bright()->val(), -17);
    EXPECT_EQ(view().brightnessValueText()->text(), QStringLiteral("-17"));
    EXPECT_TRUE(view().brightnessSlider()->hasFocus());
    EXPECT_TRUE(waitFor([this] { return openField() == nullptr; }));
}

TEST_F(PanelHandsTest, ATypedNumberIsClampedAndLettersAreNotTaken) {
    startWithFeatures(1);
    doubleClick(view().zoomValueText());
    type("9x9y9");
    EXPECT_EQ(openField()->text(), QStringLiteral("999"));
    QTest::keyClick(openField(), Qt::Key_Enter);
    EXPECT_EQ(manager_.zoom()->val(), 400);
}

TEST_F(PanelHandsTest, AnEmptyFieldSetsNothing) {
    startWithFeatures(1);
    doubleClick(view().zoomValueText());
    QTest::keyClick(openField(), Qt::Key_Delete);
    QTest::keyClick(openField(), Qt::Key_Return);
    EXPECT_NE(openField(), nullptr);
    EXPECT_EQ(manager_.zoom()->val(), 100);
}

TEST_F(PanelHandsTest, EscapeAndAClickElsewhereLeaveTheValue) {
    startWithFeatures(1);
    doubleClick(view().zoomValueText());
    type("200");
    QTest::keyClick(openField(), Qt::Key_Escape);
    EXPECT_TRUE(waitFor([this] { return openField() == nullptr; }));
    doubleClick(view().zoomValueText());
    type("200");
    click(view().mirrorSwitch());
    view().mirrorSwitch()->setFocus();
    EXPECT_TRUE(waitFor([this] { return openField() == nullptr; }));
    EXPECT_EQ(manager_.zoom()->val(), 100);
    EXPECT_EQ(view().zoomValueText()->text(), QStringLiteral("100"));
}

TEST_F(PanelHandsTest, WithoutACameraNoFieldOpens) {
    startWithFeatures(1);
    doubleClick(view().zoomValueText());
    ASSERT_NE(openField(), nullptr);
    backend_.bus->unplug(1);
    EXPECT_TRUE(waitFor([this] { return openField() == nullptr; }));
    doubleClick(view().zoomValueText());
    EXPECT_EQ(openField(), nullptr);
}

TEST_F(PanelHandsTest, ARightDoubleClickOpensNoField) {
    startWithFeatures(1);
    doubleClick(view().zoomValueText(), view().zoomValueText()->rect().center(), Qt::RightButton);
    EXPECT_EQ(openField(), nullptr);
}

TEST_F(PanelHandsTest, ControlAndTheWheelWorkOverAnySlider) {
    startWithFeatures(1);
    const auto turn = [this](Qt::KeyboardModifiers modifiers) {
        const QPointF at = view().contrastSlider()->rect().center();
        QWheelEvent event(at, view().contrastSlider()->mapToGlobal(at), {}, QPoint(0, 120), Qt::NoButton,
                          modifiers, Qt::NoScrollPhase, false);
        QApplication::sendEvent(view().contrastSlider(), &event);
    };
    view().zoomSlider()->setFocus();
    turn(Qt::NoModifier);
    EXPECT_EQ(manager_.contrast()->val(), 32);
    turn(Qt::ControlModifier);
    EXPECT_EQ(manager_.contrast()->val(), 33);
    view().contrastSlider()->setFocus();
    turn(Qt::NoModifier);
    EXPECT_EQ(manager_.contrast()->val(), 34);
}

TEST_F(PanelHandsTest, KeysOverThePreviewPanTiltAndZoom) {
    startWithFeatures(1);
    view().contrastSlider()->setFocus();
    pointAt(view().displayView());
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    press(Qt::Key_Left);
    EXPECT_EQ(view().panLeftRightSlider()->intValue(), 1);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_Up);
    EXPECT_EQ(view().panUpDownSlider()->intValue(), -1);
    EXPECT_EQ(view().panUpDownValueText()->text(), QStringLiteral("-1"));
    press(Qt::Key_Plus);
    press(Qt::Key_Equal);
    press(Qt::Key_Minus);
    EXPECT_EQ(manager_.zoom()->val(), 106) << "two percent of the range";
    EXPECT_EQ(manager_.contrast()->val(), 32) << "the slider with the focus gets none of them";

    pointAt(view().profile1Button());
    press(Qt::Key_Right);
    EXPECT_EQ(manager_.contrast()->val(), 33);
    EXPECT_EQ(view().panLeftRightSlider()->intValue(), 1);
}

TEST_F(PanelHandsTest, AControlThatGetsTheFocusGetsTheKeysUntilThePointerMoves) {
    startWithFeatures(1);
    pointAt(view().displayView());
    view().contrastSlider()->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Right);
    EXPECT_EQ(manager_.contrast()->val(), 33);
    EXPECT_EQ(view().panLeftRightSlider()->intValue(), 0);
    const QPoint beside = view().displayView()->rect().center() + QPoint(3, 3);
    QTest::mouseMove(window_.windowHandle(), view().displayView()->mapTo(&window_, beside));
    QCoreApplication::processEvents();
    press(Qt::Key_Right);
    EXPECT_EQ(manager_.contrast()->val(), 33);
    EXPECT_EQ(view().panLeftRightSlider()->intValue(), 1);
}

TEST_F(PanelHandsTest, KeysOverThePreviewDoNothingWithoutACamera) {
    startWithFeatures(0);
    pointAt(view().displayView());
    press(Qt::Key_Right);
    EXPECT_EQ(view().panLeftRightSlider()->floatValue(), 0);
}

TEST_F(PanelHandsTest, KeysWorkOverTheFullScreenToo) {
    startWithFeatures(1);
    press(Qt::Key_F11);
    pointAt(view().displayView());
    press(Qt::Key_Right);
    EXPECT_EQ(view().panLeftRightSlider()->intValue(), 1);
}

TEST_F(PanelHandsTest, EveryElementHasATip) {
    startWithFeatures(2);
    for (QWidget* element : view().findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (element->testAttribute(Qt::WA_TransparentForMouseEvents)) continue; // only to look at
        EXPECT_NE(tip(element), "") << element->metaObject()->className() << ' '
                                    << element->accessibleName().toStdString();
    }
}

TEST_F(PanelHandsTest, ASliderThatAnAutomaticRulesSaysSo) {
    startWithFeatures(1);
    KTSlider* slider = view().whiteBalanceSlider();
    EXPECT_THAT(tip(slider), HasSubstr("Arrow keys"));
    choose("Auto White Balance");
    EXPECT_THAT(tip(slider), HasSubstr("“Auto White Balance” is on"));
    EXPECT_THAT(tip(view().contrastSlider()), HasSubstr("Arrow keys"));
    choose("Auto White Balance");
    EXPECT_THAT(tip(slider), Not(HasSubstr("is on")));
}

TEST_F(PanelHandsTest, TipsNameTheKeys) {
    startWithFeatures(1);
    EXPECT_THAT(tip(view().zoomSlider()), HasSubstr("+ and −"));
    EXPECT_THAT(tip(view().panUpDownSlider()), HasSubstr("↑ and ↓"));
    EXPECT_THAT(tip(view().panLeftRightSlider()), HasSubstr("← and →"));
    EXPECT_THAT(tip(view().profile3Button()), ::testing::AllOf(HasSubstr("profile 3"), HasSubstr("Space")));
    EXPECT_THAT(tip(view().hz60Button()), HasSubstr("60 Hz"));
    EXPECT_THAT(tip(view().closeButton()), HasSubstr("Ctrl+Q"));
    ASSERT_TRUE(pictureIsShown());
    EXPECT_THAT(view().displayView()->toolTip().toStdString(), HasSubstr("F11"));
}

TEST_F(PanelHandsTest, TipsAreInTheChosenLanguage) {
    startWithFeatures(1);
    for (QAction* language : entry("Language")->menu()->actions())
        if (language->text() == QStringLiteral("Deutsch")) language->trigger();
    EXPECT_THAT(tip(view().zoomSlider()), HasSubstr("Pfeiltasten"));
    EXPECT_THAT(tip(view().restoreProfileButton()), HasSubstr("Standardwerte"));
}

TEST_F(PanelHandsTest, CameraButtonsSayTheirCamerasName) {
    startWithFeatures(1);
    EXPECT_EQ(tip(view().camera1Button()), "Tavelo Virtual Camera 1");
    EXPECT_EQ(tip(view().camera2Button()), "");
    plug(3);
    ASSERT_TRUE(waitFor([this] { return panel().devicesArray().size() == 2; }));
    EXPECT_EQ(tip(view().camera2Button()), "Tavelo Virtual Camera 3");
    EXPECT_EQ(view().camera2Button()->accessibleDescription(), QStringLiteral("Tavelo Virtual Camera 3"));
    EXPECT_EQ(view().camera1Button()->accessibleDescription(), QStringLiteral("Tavelo Virtual Camera 1"));
    backend_.bus->unplug(1);
    ASSERT_TRUE(waitFor([this] { return panel().devicesArray().size() == 1; }));
    EXPECT_EQ(tip(view().camera1Button()), "Tavelo Virtual Camera 3");
    EXPECT_EQ(tip(view().camera2Button()), "");
}

} // namespace
} // namespace tavelo
