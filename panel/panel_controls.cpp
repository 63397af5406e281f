// SPDX-License-Identifier: MIT
#include "panel/panel_controls.h"

#include <algorithm>
#include <array>

namespace tavelo {
namespace {

using enum KTUVCControl;
using enum ValueShare;
using Row = PanelRow;

constexpr bool yes = true;
constexpr bool no = false;

// clang-format off
constexpr std::array table{
    //           control       slider             title             share        unchanged
    PanelControl{bright,       Row::brightness,   "Brightness",     whole,       yes},
    PanelControl{contrast,     Row::contrast,     "Contrast",       whole,       yes},
    PanelControl{saturation,   Row::saturation,   "Saturation",     whole,       no},
    PanelControl{whiteBalance, Row::whiteBalance, "White_Balance",  whole,       yes},
    PanelControl{sharpness,    Row::sharpness,    "Sharpness",      whole,       yes},
    PanelControl{zoom,         Row::zoom,         "Zoom",           whole,       yes},
    PanelControl{panTilt,      Row::panUpDown,    "Pan_up_down",    tiltDegrees, yes},
    PanelControl{panTilt,      Row::panLeftRight, "Pan_left_right", panDegrees,  yes},
    PanelControl{powerLine,    {},                "",               whole,       yes},
};
// clang-format on

constexpr bool everySliderHasOneRow() {
    for (std::size_t row = 0; row < panelRowCount; ++row)
        if (std::ranges::count(table, static_cast<PanelRow>(row), &PanelControl::row) != 1) return false;
    return true;
}
static_assert(everySliderHasOneRow());

constexpr std::int32_t arcSecondsPerDegree = 3600;

// Wraps in 32 bits if the camera reports a nonsensically large range.
std::int32_t arcSeconds(std::int32_t degrees) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(degrees) *
                                     std::uint32_t(arcSecondsPerDegree));
}

} // namespace

std::span<const PanelControl> panelControls() {
    return table;
}

const PanelControl& panelControl(PanelRow row) {
    return *std::ranges::find(table, row, &PanelControl::row);
}

std::int64_t shownValue(const PanelControl& control, std::int64_t value) {
    switch (control.share) {
        case whole:
            return value;
        case panDegrees:
            return KTUVCParameters::first32BitValueFrom64BitValue(value) / arcSecondsPerDegree;
        case tiltDegrees:
            return KTUVCParameters::second32BitValueFrom64BitValue(value) / arcSecondsPerDegree;
    }
    return value;
}

void sendPosition(KTUVCManager& manager, const PanelControl& control, std::int32_t position,
                  const ComplitionHandle& handle) {
    switch (control.share) {
        case whole:
            return manager.setControlWithComplitionHandle(control.control, position, handle);
        case panDegrees:
            return manager.setPanWithComplitionHandle(arcSeconds(position), handle);
        case tiltDegrees:
            return manager.setTiltWithComplitionHandle(arcSeconds(position), handle);
    }
}

} // namespace tavelo
