// SPDX-License-Identifier: MIT
// What the sliders, the mirror switch and the power-line buttons do, and how they show the camera's values.
#include <QPointer>
#include <QString>
#include <algorithm>
#include <array>

#include "panel/view_controller.h"
#include "video/kt_display_view.h"
#include "widgets/kt_check_button.h"
#include "widgets/kt_slider.h"
#include "widgets/kt_switch.h"
#include "widgets/kt_text.h"

namespace tavelo {
namespace {

constexpr std::int64_t powerLine50Hz = 1;
constexpr std::int64_t powerLine60Hz = 2;

/// Which part of a control's value a row shows.
enum class Share : std::uint8_t {
    whole,       ///< the value as it is
    panDegrees,  ///< the low half, which is in arc-seconds
    tiltDegrees, ///< the high half, which is in arc-seconds
};

/// The camera control behind a row.
struct RowControl {
    PanelRow row;
    KTUVCControl control;
    void (KTUVCManager::*set)(std::int64_t value, const ComplitionHandle& handle);
    Share share = Share::whole;
};

using C = KTUVCControl;
using M = KTUVCManager;

// In the order in which the values of a newly bound camera are shown.
constexpr std::array<RowControl, panelRowCount> rowControls{{
    {PanelRow::brightness, C::bright, &M::setBrightWithComplitionHandle},
    {PanelRow::contrast, C::contrast, &M::setContrastWithComplitionHandle},
    {PanelRow::saturation, C::saturation, &M::setSaturationWithComplitionHandle},
    {PanelRow::whiteBalance, C::whiteBalance, &M::setWhiteBalanceWithComplitionHandle},
    {PanelRow::sharpness, C::sharpness, &M::setSharpnessWithComplitionHandle},
    {PanelRow::zoom, C::zoom, &M::setZoomWithComplitionHandle},
    {PanelRow::panUpDown, C::panTilt, &M::setTiltWithComplitionHandle, Share::tiltDegrees},
    {PanelRow::panLeftRight, C::panTilt, &M::setPanWithComplitionHandle, Share::panDegrees},
}};

constexpr std::int32_t arcSecondsPerDegree = 3600;

const RowControl& controlOf(PanelRow row) {
    return *std::ranges::find(rowControls, row, &RowControl::row);
}

/// Converts a value in the camera's units to the number shown; degrees are truncated toward zero.
std::int64_t shownValue(const RowControl& control, std::int64_t value) {
    switch (control.share) {
        case Share::whole:
            return value;
        case Share::panDegrees:
            return KTUVCParameters::first32BitValueFrom64BitValue(value) / arcSecondsPerDegree;
        case Share::tiltDegrees:
            return KTUVCParameters::second32BitValueFrom64BitValue(value) / arcSecondsPerDegree;
    }
    return value;
}

/// Converts a slider's position to the camera's units.
std::int64_t commandedValue(const RowControl& control, std::int32_t position) {
    if (control.share == Share::whole) return position;
    // Wraps in 32 bits if the camera reports a nonsensically large range.
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(position) *
                                     std::uint32_t(arcSecondsPerDegree));
}

} // namespace

void ViewController::brightnessSliderAction(KTSlider* sender) {
    sliderAction(PanelRow::brightness, sender);
}

void ViewController::contrastSliderAction(KTSlider* sender) {
    sliderAction(PanelRow::contrast, sender);
}

// The only row that sends nothing if the value did not change, such as on the release that ends a drag.
void ViewController::saturationSliderAction(KTSlider* sender) {
    if (sender->intValue() != uvcManager_.saturation()->val())
        sliderAction(PanelRow::saturation, sender);
    else
        reopening_.actionEnded(uvcManager_.now(), sender->isHeld());
}

void ViewController::whiteBalanceSliderAction(KTSlider* sender) {
    sliderAction(PanelRow::whiteBalance, sender);
}

void ViewController::sharpnessSliderAction(KTSlider* sender) {
    sliderAction(PanelRow::sharpness, sender);
}

void ViewController::zoomSliderAction(KTSlider* sender) {
    sliderAction(PanelRow::zoom, sender);
}

void ViewController::panLeftRightSliderAction(KTSlider* sender) {
    sliderAction(PanelRow::panLeftRight, sender);
}

void ViewController::panUpDownSliderAction(KTSlider* sender) {
    sliderAction(PanelRow::panUpDown, sender);
}

void ViewController::sliderAction(PanelRow row, const KTSlider* sender) {
    const RowControl& control = controlOf(row);
    const std::int64_t value = commandedValue(control, sender->intValue());
    cameraAction(sender->isHeld(), [&] {
        KTUVCManager& manager = uvcManager_;
        const BindingIdentity binding = manager.bindingIdentity();
        (manager.*control.set)(value, [panel = QPointer(this), row, binding](bool accepted) {
            if (accepted && panel && panel->isBoundAs(binding)) panel->showValueText(row);
        });
    });
}

// Switch and renderer each invert their own state.
void ViewController::mirrorSwitchAction(KTSwitch* sender) {
    sender->setOn(!sender->on());
    if (displayView() == nullptr) return;
    KTMTKView* renderer = displayView()->mtkView();
    renderer->setShouldFlipHorizontal(!renderer->shouldFlipHorizontal());
}

void ViewController::hz50CheckButtonAction(QObject* /*sender*/) {
    powerLineAction(powerLine50Hz);
}

void ViewController::hz60CheckButtonAction(QObject* /*sender*/) {
    powerLineAction(powerLine60Hz);
}

void ViewController::powerLineAction(std::int64_t value) {
    cameraAction(false, [&] {
        const BindingIdentity binding = uvcManager_.bindingIdentity();
        uvcManager_.setPowerLineWithComplitionHandle(value, [panel = QPointer(this), binding](bool accepted) {
            if (accepted && panel && panel->isBoundAs(binding)) panel->showPowerLine();
        });
    });
}

void ViewController::refreshCameraSettingData() {
    for (const RowControl& control : rowControls) {
        const KTUVCParameters& record = *uvcManager_.record(control.control);
        KTSlider* slider = view_->row(control.row).slider;
        slider->setMinValue(static_cast<double>(shownValue(control, record.min())));
        slider->setMaxValue(static_cast<double>(shownValue(control, record.max())));
        showValue(control.row);
    }
    showPowerLine();
}

void ViewController::showValueText(PanelRow row) {
    const RowControl& control = controlOf(row);
    const KTUVCParameters& record = *uvcManager_.record(control.control);
    view_->row(row).valueText->setText(QString::number(shownValue(control, record.val())));
}

void ViewController::showValue(PanelRow row) {
    const RowControl& control = controlOf(row);
    const KTUVCParameters& record = *uvcManager_.record(control.control);
    view_->row(row).slider->setIntValue(static_cast<std::int32_t>(shownValue(control, record.val())));
    showValueText(row);
}

// Everything but 50 Hz is shown as 60 Hz, even "off", because there is no third button.
void ViewController::showPowerLine() {
    view_->hz50Button()->setCheck(uvcManager_.powerLine()->val() == powerLine50Hz);
    view_->hz60Button()->setCheck(!view_->hz50Button()->check());
}

} // namespace tavelo
