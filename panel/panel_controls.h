// SPDX-License-Identifier: MIT
// The camera's controls on the panel: a row for each slider, and one for the power-line buttons.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "panel/panel_layout.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {

/// Which part of a control's value a slider sets.
enum class ValueShare : std::uint8_t {
    whole,       ///< the value as it is
    panDegrees,  ///< the low half, which is in arc-seconds
    tiltDegrees, ///< the high half, which is in arc-seconds
};

struct PanelControl {
    KTUVCControl control;
    /// Where its slider is.  The power-line buttons have none.
    std::optional<PanelRow> row;
    /// The slider's title: a key of the string tables.
    std::string_view title;
    ValueShare share;
    /// Whether a slider that did not change the value sends it again, such as on the release that ends a
    /// drag.
    bool sendsUnchanged;
};

/// All rows, in the order in which values are shown.
std::span<const PanelControl> panelControls();

const PanelControl& panelControl(PanelRow row);

/// Converts a value in the camera's units to the number shown; degrees are truncated toward zero.
std::int64_t shownValue(const PanelControl& control, std::int64_t value);

/// Sends a slider's position to the camera.
void sendPosition(KTUVCManager& manager, const PanelControl& control, std::int32_t position,
                  const ComplitionHandle& handle);

} // namespace tavelo
