// SPDX-License-Identifier: MIT
// What the sliders, the mirror switch and the power-line buttons do, and how they show the camera's values.
#include <QPointer>
#include <QString>

#include "panel/panel_controls.h"
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

} // namespace

void ViewController::sliderAction(PanelRow row, const KTSlider* sender) {
    const PanelControl& control = panelControl(row);
    const std::int32_t position = sender->intValue();
    if (!control.sendsUnchanged &&
        position == shownValue(control, uvcManager_.record(control.control)->val())) {
        reopening_.actionEnded(uvcManager_.now(), sender->isHeld());
        return;
    }
    cameraAction(sender->isHeld(), [&] {
        isBehind_[static_cast<std::size_t>(row)] = false;
        const BindingIdentity binding = uvcManager_.bindingIdentity();
        sendPosition(uvcManager_, control, position, [panel = QPointer(this), row, binding](bool accepted) {
            if (!accepted || !panel || !panel->isBoundAs(binding)) return;
            panel->showValueText(row);
            panel->tellChanged(panelControl(row).control);
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
            if (!accepted || !panel || !panel->isBoundAs(binding)) return;
            panel->showPowerLine();
            panel->tellChanged(KTUVCControl::powerLine);
        });
    });
}

void ViewController::refreshCameraSettingData() {
    for (const PanelControl& control : panelControls()) {
        if (!control.row) continue;
        const KTUVCParameters& record = *uvcManager_.record(control.control);
        KTSlider* slider = view_->row(*control.row).slider;
        slider->setMinValue(static_cast<double>(shownValue(control, record.min())));
        slider->setMaxValue(static_cast<double>(shownValue(control, record.max())));
        showValue(*control.row);
    }
    showPowerLine();
}

void ViewController::showControl(KTUVCControl control) {
    for (const PanelControl& shown : panelControls())
        if (shown.control == control && shown.row) showValueUnlessHeld(*shown.row);
    if (control == KTUVCControl::powerLine) showPowerLine();
}

void ViewController::showValueText(PanelRow row) {
    const PanelControl& control = panelControl(row);
    const std::int64_t value = uvcManager_.record(control.control)->val();
    view_->row(row).valueText->setText(QString::number(shownValue(control, value)));
}

void ViewController::showValue(PanelRow row) {
    const PanelControl& control = panelControl(row);
    const std::int64_t value = uvcManager_.record(control.control)->val();
    view_->row(row).slider->setIntValue(static_cast<std::int32_t>(shownValue(control, value)));
    showValueText(row);
}

// Everything but 50 Hz is shown as 60 Hz, even "off", because there is no third button.
void ViewController::showPowerLine() {
    view_->hz50Button()->setCheck(uvcManager_.powerLine()->val() == powerLine50Hz);
    view_->hz60Button()->setCheck(!view_->hz50Button()->check());
}

} // namespace tavelo
