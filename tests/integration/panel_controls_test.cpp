// SPDX-License-Identifier: MIT
#include <array>

#include "integration/panel_fixture.h"

namespace tavelo {
namespace {

using PanelControls = PanelTest;

TEST_F(PanelControls, DraggingTheBrightnessSliderMovesTheCameraOnPressMoveAndRelease) {
    start(1);
    const auto firmware = camera(1);
    KTSlider* slider = view().brightnessSlider();
    press(slider, 0);
    EXPECT_EQ(firmware->controlValue(control::brightness), -64);
    EXPECT_EQ(view().brightnessValueText()->text(), u"-64");
    move(slider, 0.5);
    EXPECT_EQ(firmware->controlValue(control::brightness), 0);
    move(slider, 1);
    firmware->setControlValue(control::brightness, 0);
    release(slider, 1);
    EXPECT_EQ(firmware->controlValue(control::brightness), 64);
    EXPECT_EQ(view().brightnessValueText()->text(), u"64");
    const auto sent = writes(*firmware);
    ASSERT_FALSE(sent.empty());
    EXPECT_EQ(sent.back().setup.wValue, 0x0200);
    EXPECT_EQ(sent.back().setup.wIndex, firmware->model().unitID << 8);
    EXPECT_EQ(sent.back().data, (std::vector<std::uint8_t>{64, 0}));
}

struct ScalarRow {
    KTSlider* (PanelView::*slider)() const;
    KTText* (PanelView::*valueText)() const;
    ControlAddress control;
};

constexpr std::array scalarRows{
    ScalarRow{&PanelView::brightnessSlider, &PanelView::brightnessValueText, control::brightness},
    ScalarRow{&PanelView::contrastSlider, &PanelView::contrastValueText, control::contrast},
    ScalarRow{&PanelView::saturationSlider, &PanelView::saturationValueText, control::saturation},
    ScalarRow{&PanelView::whiteBalanceSlider, &PanelView::whiteBalanceValueText, control::whiteBalance},
    ScalarRow{&PanelView::sharpnessSlider, &PanelView::sharpnessValueText, control::sharpness},
    ScalarRow{&PanelView::zoomSlider, &PanelView::zoomValueText, control::zoom},
};

TEST_F(PanelControls, EachSliderMovesItsOwnControlFromEndToEnd) {
    start(1);
    const auto firmware = camera(1);
    for (const ScalarRow& row : scalarRows) {
        KTSlider* slider = (view().*row.slider)();
        const FirmwareControl& range = *firmwareControl(row.control);
        for (const auto& [share, value] : {std::pair(1.0, range.maximum), std::pair(0.0, range.minimum)}) {
            press(slider, share);
            release(slider, share);
            EXPECT_EQ(firmware->controlValue(row.control), value) << range.name;
            EXPECT_EQ((view().*row.valueText)()->text(), QString::number(value)) << range.name;
        }
    }
}

TEST_F(PanelControls, DraggingThePanSliderToMinusFiveSendsArcSecondsAndLeavesTheTiltUnchanged) {
    const auto firmware = plug(1);
    firmware->setControlValue(control::panTilt, packPanTilt(0, 7200));
    start(0);
    EXPECT_EQ(view().panUpDownValueText()->text(), u"2");
    KTSlider* slider = view().panLeftRightSlider();
    press(slider, 0.25);
    release(slider, 0.25);
    EXPECT_EQ(slider->intValue(), -5);
    EXPECT_EQ(firmware->controlValue(control::panTilt), packPanTilt(-18000, 7200));
    EXPECT_EQ(view().panLeftRightValueText()->text(), u"-5");
    EXPECT_EQ(view().panUpDownValueText()->text(), u"2");
}

TEST_F(PanelControls, TheTiltSliderLeavesThePanUnchanged) {
    const auto firmware = plug(1);
    firmware->setControlValue(control::panTilt, packPanTilt(-3600, 0));
    start(0);
    KTSlider* slider = view().panUpDownSlider();
    press(slider, 1);
    release(slider, 1);
    EXPECT_EQ(firmware->controlValue(control::panTilt), packPanTilt(-3600, 36000));
    EXPECT_EQ(view().panUpDownValueText()->text(), u"10");
}

TEST_F(PanelControls, APanRangeInArcSecondsLoadsAsDegrees) {
    start(1);
    EXPECT_EQ(view().panLeftRightSlider()->minValue(), -10);
    EXPECT_EQ(view().panLeftRightSlider()->maxValue(), 10);
}

TEST_F(PanelControls, APanValueJustAboveMinusOneDegreeShowsAsZero) {
    start(1);
    manager_.panTilt()->setVal(packPanTilt(-3599, -3599));
    panel().refreshCameraSettingData();
    EXPECT_EQ(view().panLeftRightValueText()->text(), u"0");
    EXPECT_EQ(view().panUpDownValueText()->text(), u"0");
}

TEST_F(PanelControls, ReleasingTheSaturationSliderAtItsCurrentValueSendsNoRequest) {
    start(1);
    KTSlider* slider = view().saturationSlider();
    press(slider, 1);
    camera(1)->clearRequestLog();
    release(slider, 1);
    EXPECT_TRUE(writes(*camera(1)).empty());
}

TEST_F(PanelControls, ReleasingAnyOtherSliderSendsItsValueAgain) {
    start(1);
    KTSlider* slider = view().contrastSlider();
    press(slider, 1);
    camera(1)->clearRequestLog();
    release(slider, 1);
    EXPECT_EQ(writes(*camera(1)).size(), 1U);
}

TEST_F(PanelControls, ThePowerLineButtonsAreAPairAndFollowTheCamera) {
    start(1);
    EXPECT_TRUE(view().hz50Button()->check());
    click(view().hz60Button());
    EXPECT_EQ(camera(1)->controlValue(control::powerLine), 2);
    EXPECT_FALSE(view().hz50Button()->check());
    EXPECT_TRUE(view().hz60Button()->check());
    click(view().hz50Button());
    EXPECT_EQ(camera(1)->controlValue(control::powerLine), 1);
    EXPECT_TRUE(view().hz50Button()->check());
    EXPECT_FALSE(view().hz60Button()->check());
}

TEST_F(PanelControls, PressingTheChecked50HzButtonSendsTheRequestAgain) {
    start(1);
    camera(1)->clearRequestLog();
    click(view().hz50Button());
    ASSERT_EQ(writes(*camera(1)).size(), 1U);
    EXPECT_EQ(writes(*camera(1)).front().setup.wValue, 0x0500);
}

TEST_F(PanelControls, APowerLineValueOfZeroShowsThe60HzButtonChecked) {
    const auto firmware = plug(1);
    firmware->setControlValue(control::powerLine, 0);
    start(0);
    EXPECT_FALSE(view().hz50Button()->check());
    EXPECT_TRUE(view().hz60Button()->check());
}

TEST_F(PanelControls, ARefusedPowerLineWriteLeavesBothButtonsAsTheyWere) {
    start(1);
    camera(1)->order(
        {.kind = FaultKind::stall, .control = control::powerLine, .direction = FaultDirection::writes});
    click(view().hz60Button());
    EXPECT_TRUE(view().hz50Button()->check());
    EXPECT_FALSE(view().hz60Button()->check());
}

TEST_F(PanelControls, ARefusedBrightnessWriteLeavesTheLabelWhileTheSliderShowsTheNewPosition) {
    start(1);
    camera(1)->order(
        {.kind = FaultKind::stall, .control = control::brightness, .direction = FaultDirection::writes});
    KTSlider* slider = view().brightnessSlider();
    press(slider, 1);
    release(slider, 1);
    EXPECT_EQ(slider->intValue(), 64);
    EXPECT_EQ(view().brightnessValueText()->text(), u"0");
    EXPECT_EQ(manager_.bright()->val(), 0);
}

TEST_F(PanelControls, AfterARefusedWriteTheNextSliderMovesTheCamera) {
    const auto firmware = plug(1);
    firmware->setControlValue(control::autoWhiteBalance, 1);
    start(0);
    push(view().profile2Button());
    KTSlider* whiteBalance = view().whiteBalanceSlider();
    press(whiteBalance, 1);
    release(whiteBalance, 1);
    EXPECT_EQ(firmware->controlValue(control::whiteBalance), 4600);
    KTSlider* contrast = view().contrastSlider();
    press(contrast, 1);
    release(contrast, 1);
    EXPECT_EQ(firmware->controlValue(control::contrast), 64);
    EXPECT_EQ(view().contrastValueText()->text(), u"64");
    EXPECT_EQ(panel().profileIndex(), 1) << "rebinding does not deselect the profile";
}

TEST_F(PanelControls, TheMirrorSwitchFlipsThePreviewAndSendsNothing) {
    start(1);
    camera(1)->clearRequestLog();
    click(view().mirrorSwitch());
    EXPECT_TRUE(view().mirrorSwitch()->on());
    EXPECT_TRUE(panel().displayView()->mtkView()->shouldFlipHorizontal());
    click(view().mirrorSwitch());
    EXPECT_FALSE(view().mirrorSwitch()->on());
    EXPECT_FALSE(panel().displayView()->mtkView()->shouldFlipHorizontal());
    EXPECT_TRUE(writes(*camera(1)).empty());
}

TEST_F(PanelControls, MirrorSwitchAndRendererToggleIndependently) {
    start(1);
    panel().displayView()->mtkView()->setShouldFlipHorizontal(true);
    click(view().mirrorSwitch());
    EXPECT_TRUE(view().mirrorSwitch()->on());
    EXPECT_FALSE(panel().displayView()->mtkView()->shouldFlipHorizontal());
}

TEST_F(PanelControls, TheLabelShowsTheCamerasValueWhereTheSliderEnds) {
    start(1);
    manager_.bright()->setVal(200);
    manager_.contrast()->setVal(-7);
    manager_.panTilt()->setVal(packPanTilt(20 * 3600, -30 * 3600));
    panel().refreshCameraSettingData();
    EXPECT_EQ(view().brightnessSlider()->intValue(), 64);
    EXPECT_EQ(view().brightnessValueText()->text(), u"200");
    EXPECT_EQ(view().contrastSlider()->intValue(), 0);
    EXPECT_EQ(view().contrastValueText()->text(), u"-7");
    EXPECT_EQ(view().panLeftRightSlider()->intValue(), 10);
    EXPECT_EQ(view().panLeftRightValueText()->text(), u"20");
    EXPECT_EQ(view().panUpDownSlider()->intValue(), -10);
    EXPECT_EQ(view().panUpDownValueText()->text(), u"-30");
}

/// Rounds every written value down to an even number and returns it.
class EvenValues : public UsbInterface {
public:
    ErrorCode ControlRequest(UsbControlRequest& request) override {
        request.data[0] = static_cast<std::uint8_t>(request.data[0] & 0xFE);
        return ErrorCode::none;
    }
    void USBInterfaceClose() override {}
    std::uint8_t GetInterfaceNumber() const override { return 0; }
};

TEST_F(PanelControls, TheLabelShowsTheValueThatTheCameraSet) {
    start(1);
    manager_.setInterface(std::make_shared<EvenValues>());
    KTSlider* slider = view().contrastSlider();
    slider->choose(33);
    EXPECT_EQ(view().contrastValueText()->text(), u"32");
    EXPECT_EQ(slider->intValue(), 33);
    PreferencesDictionary profile;
    camera_settings::storeCurrent(profile, manager_, false);
    EXPECT_EQ(camera_settings::integer(profile, "kNSUserDefaultsKeyContrast"), 32);
}

TEST_F(PanelControls, TheActionNamedAfterASliderSendsItsValue) {
    start(1);
    using Action = void (ViewController::*)(KTSlider*);
    const std::vector<std::pair<PanelRow, Action>> actions{
        {PanelRow::brightness, &ViewController::brightnessSliderAction},
        {PanelRow::contrast, &ViewController::contrastSliderAction},
        {PanelRow::saturation, &ViewController::saturationSliderAction},
        {PanelRow::whiteBalance, &ViewController::whiteBalanceSliderAction},
        {PanelRow::sharpness, &ViewController::sharpnessSliderAction},
        {PanelRow::zoom, &ViewController::zoomSliderAction},
        {PanelRow::panLeftRight, &ViewController::panLeftRightSliderAction},
        {PanelRow::panUpDown, &ViewController::panUpDownSliderAction}};
    for (const auto& [row, action] : actions) {
        const SliderRow& widgets = view().row(row);
        widgets.slider->setFloatValue(widgets.slider->maxValue());
        const QString shown = QString::number(widgets.slider->intValue());
        EXPECT_NE(widgets.valueText->text(), shown);
        (panel().*action)(widgets.slider);
        EXPECT_EQ(widgets.valueText->text(), shown);
    }
}

TEST_F(PanelControls, TheSwitchedCameraIsTheOneThatASliderMoves) {
    start(2);
    click(view().camera2Button());
    KTSlider* slider = view().brightnessSlider();
    press(slider, 1);
    release(slider, 1);
    EXPECT_EQ(camera(2)->controlValue(control::brightness), 64);
    EXPECT_EQ(camera(1)->controlValue(control::brightness), 0);
}

} // namespace
} // namespace tavelo
