// SPDX-License-Identifier: MIT
#include "platform/linux/usb/class_ranges.h"

#include <algorithm>
#include <array>

namespace tavelo {
namespace {

constexpr auto terminal = UvcEntity::cameraTerminal;
constexpr auto unit = UvcEntity::processingUnit;

constexpr std::uint16_t version15 = 0x0150;

struct ClassRange {
    UvcEntity entity;
    std::uint8_t selector;
    std::uint8_t minimum;
    std::uint8_t maximum;
    std::uint8_t maximumFrom15;
};

constexpr std::array ranges{
    ClassRange{terminal, 1, 0, 1, 1}, // scanning mode
    ClassRange{terminal, 2, 1, 8, 8}, // exposure mode, one bit each
    ClassRange{terminal, 3, 0, 1, 1}, // exposure priority
    ClassRange{terminal, 8, 0, 1, 1}, // auto focus
    ClassRange{unit, 5, 0, 2, 3},     // power line frequency: off, 50 Hz, 60 Hz, and from 1.5 on automatic
    ClassRange{unit, 11, 0, 1, 1},    // auto white balance
    ClassRange{unit, 13, 0, 1, 1},    // auto white balance, by component
    ClassRange{unit, 16, 0, 1, 1},    // auto hue
    ClassRange{unit, 19, 0, 1, 1},    // auto contrast
};

} // namespace

std::optional<std::uint8_t> classRange(UvcEntity entity, std::uint8_t selector, UvcRequest request,
                                       std::uint16_t classVersion) {
    const auto found = std::ranges::find_if(ranges, [&](const ClassRange& range) {
        return range.entity == entity && range.selector == selector;
    });
    if (found == ranges.end()) return std::nullopt;
    if (request == UvcRequest::getMin) return found->minimum;
    if (request != UvcRequest::getMax) return std::nullopt;
    return classVersion >= version15 ? found->maximumFrom15 : found->maximum;
}

} // namespace tavelo
