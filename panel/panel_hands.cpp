// SPDX-License-Identifier: MIT
#include "panel/panel_hands.h"

#include "panel/panel_controls.h"
#include "widgets/kt_slider.h"

namespace tavelo {

PanelHands::PanelHands(ViewController& panel, QWidget& window) : panel_(panel), keys_(window, *panel.view()) {
    for (std::size_t i = 0; i < panelRowCount; ++i) {
        const SliderRow& row = panel.view()->rows()[i];
        entries_.push_back(std::make_unique<ValueEntry>(*row.valueText, *row.slider));
        connect(row.slider, &KTSlider::defaultWanted, this,
                [this, i] { setDefault(static_cast<PanelRow>(i)); });
    }
}

void PanelHands::setDefault(PanelRow row) {
    const PanelControl& control = panelControl(row);
    const KTUVCParameters& record = *panel_.uvcManager().record(control.control);
    if (!record.supported()) return;
    panel_.view()->row(row).slider->choose(static_cast<double>(shownValue(control, record.def())));
}

} // namespace tavelo
