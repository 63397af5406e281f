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

/// Which number of a record a row shows.
enum class Share : std::uint8_t {
    whole,       ///< the camera's own number
    panDegrees,  ///< the low half, arc-seconds in the camera
    tiltDegrees, ///< the high half
};

/// How a row speaks with the camera.
struct RowControl {
    PanelRow row;
    KTUVCControl control;
    void (KTUVCManager::*set)(std::int64_t value, const ComplitionHandle& handle);
    Share share = Share::whole;
};

using C = KTUVCControl;
using M = KTUVCManager;

// In the order in which a newly bound camera's values are shown.
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

/// What a row shows of a number in the camera's units; degrees are truncated toward zero.
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

/// The number in the camera's units that a slider's position stands for.
std::int64_t commandedValue(const RowControl& control, std::int32_t position) {
    if (control.share == Share::whole) return position;
    // 32-bit arithmetic that wraps: a range that large comes from a camera that lies about itself.
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

// The one row that keeps quiet where nothing changed, as on the release that ends a drag.
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

// Switch and renderer each turn over from their own state.
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

// Everything but 50 Hz shows as 60 Hz, "off" included: the panel has no third button.
void ViewController::showPowerLine() {
    view_->hz50Button()->setCheck(uvcManager_.powerLine()->val() == powerLine50Hz);
    view_->hz60Button()->setCheck(!view_->hz50Button()->check());
}

} // namespace tavelo
