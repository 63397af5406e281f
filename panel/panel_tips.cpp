// SPDX-License-Identifier: MIT
#include "panel/panel_tips.h"

#include <QEvent>
#include <utility>

#include "panel/automatic_functions.h"
#include "panel/panel_controls.h"
#include "widgets/kt_check_button.h"
#include "widgets/kt_profile_button.h"
#include "widgets/kt_slider.h"
#include "widgets/kt_switch.h"
#include "widgets/kt_text.h"
#include "widgets/localized_text.h"

namespace tavelo {
namespace {

const QString lineBreak = QStringLiteral("\n");

// The keys that work over the picture; empty if there are none.
std::string_view pictureKeys(PanelRow row) {
    switch (row) {
        case PanelRow::zoom:
            return "Tip_zoom";
        case PanelRow::panUpDown:
            return "Tip_tilt";
        case PanelRow::panLeftRight:
            return "Tip_pan";
        default:
            return {};
    }
}

} // namespace

PanelTips::PanelTips(ViewController& panel, const Bundle& bundle) : panel_(panel), bundle_(bundle) {
    for (const SliderRow& row : panel.view()->rows())
        row.slider->installEventFilter(this);
    retranslate();
}

void PanelTips::retranslate() {
    setSliderTips();
    setButtonTips();
}

QString PanelTips::text(std::string_view key) const {
    return localizedText(bundle_, key);
}

QString PanelTips::sliderTip(PanelRow row) const {
    const AutomaticFunction* const function = automaticFunctionOf(panelControl(row).control);
    if (function != nullptr && isOn(panel_.uvcManager(), *function))
        return text("Tip_ruled").arg(text(function->title));
    const std::string_view keys = pictureKeys(row);
    return text("Tip_slider") + (keys.empty() ? QString() : lineBreak + text(keys));
}

void PanelTips::setSliderTips() {
    for (std::size_t i = 0; i < panelRowCount; ++i) {
        const SliderRow& row = panel_.view()->rows()[i];
        row.slider->setToolTip(sliderTip(static_cast<PanelRow>(i)));
        row.valueText->setToolTip(text("Tip_value"));
    }
}

void PanelTips::setButtonTips() {
    PanelView& view = *panel_.view();
    const auto set = [this](QWidget* button, const QString& tip) {
        button->setToolTip(tip + lineBreak + text("Tip_space"));
    };
    const auto setWithLabel = [&set](QWidget* button, KTText* label, const QString& tip) {
        set(button, tip);
        label->setToolTip(button->toolTip());
    };
    setWithLabel(view.mirrorSwitch(), view.mirrorTitleText(), text("Tip_mirror"));
    for (const auto& [button, label] :
         {std::pair{view.hz50Button(), view.hz50Text()}, std::pair{view.hz60Button(), view.hz60Text()}})
        setWithLabel(button, label, text("Tip_mains").arg(label->text()));
    for (std::size_t i = 0; i < profileCount; ++i)
        set(view.profileButtons()[i], text("Tip_profile").arg(i + 1));
    set(view.saveProfileButton(), text("Tip_save"));
    set(view.restoreProfileButton(), text("Tip_restore"));
    set(view.minButton(), text("Minimise"));
    view.closeButton()->setToolTip(text("Close") + lineBreak + text("Quit") + QStringLiteral(": Ctrl+Q"));
}

bool PanelTips::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ToolTip || event->type() == QEvent::FocusIn) setSliderTips();
    return QObject::eventFilter(watched, event);
}

} // namespace tavelo
