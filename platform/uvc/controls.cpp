// SPDX-License-Identifier: MIT
#include "platform/uvc/controls.h"

#include <algorithm>
#include <array>

namespace tavelo {
namespace {

// The selector for each bit of bmControls; 0 if the class assigns none.
constexpr std::array<std::uint8_t, 22> terminalSelectors{1,  2,  3,  4,  5, 6, 7, 9,  10, 11, 12,
                                                         13, 14, 15, 16, 0, 0, 8, 17, 18, 19, 20};
constexpr std::array<std::uint8_t, 19> unitSelectors{2, 3,  6,  7,  8,  9,  10, 12, 1, 4,
                                                     5, 16, 11, 13, 14, 15, 17, 18, 19};

std::span<const std::uint8_t> selectorsOf(UvcEntity entity) {
    if (entity == UvcEntity::cameraTerminal) return terminalSelectors;
    return unitSelectors;
}

struct ClassRange {
    ControlAddress control;
    std::uint8_t minimum;
    std::uint8_t maximum;
    std::uint8_t maximumFrom15;
};

constexpr std::array ranges{
    ClassRange{control::scanningMode, 0, 1, 1},
    ClassRange{control::autoExposureMode, uvc::manualExposure, uvc::aperturePriority, uvc::aperturePriority},
    ClassRange{control::autoExposurePriority, 0, 1, 1},
    ClassRange{control::autoFocus, 0, 1, 1},
    ClassRange{control::powerLine, 0, 2, 3}, // off, 50 Hz, 60 Hz, and from 1.5 on automatic
    ClassRange{control::autoWhiteBalance, 0, 1, 1},
    ClassRange{control::autoWhiteBalanceComponent, 0, 1, 1},
    ClassRange{control::autoHue, 0, 1, 1},
    ClassRange{control::autoContrast, 0, 1, 1},
};

} // namespace

std::uint32_t controlBit(ControlAddress control) {
    const auto selectors = selectorsOf(control.entity);
    const auto found = std::ranges::find(selectors, control.selector);
    if (control.selector == 0 || found == selectors.end()) return 0;
    return 1U << (found - selectors.begin());
}

std::bitset<256> listedSelectors(UvcEntity entity, std::span<const std::uint8_t> bmControls) {
    const auto selectors = selectorsOf(entity);
    std::bitset<256> listed;
    for (std::size_t bit = 0; bit < std::min(selectors.size(), 8 * bmControls.size()); ++bit) {
        if ((bmControls[bit / 8] >> (bit % 8) & 1) != 0) listed.set(selectors[bit]);
    }
    return listed.reset(0);
}

std::optional<std::uint8_t> classRange(ControlAddress control, UvcRequest request,
                                       std::uint16_t classVersion) {
    const auto found = std::ranges::find(ranges, control, &ClassRange::control);
    if (found == ranges.end()) return std::nullopt;
    if (request == UvcRequest::getMin) return found->minimum;
    if (request != UvcRequest::getMax) return std::nullopt;
    return classVersion >= uvc::version15 ? found->maximumFrom15 : found->maximum;
}

} // namespace tavelo
