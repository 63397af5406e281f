// SPDX-License-Identifier: MIT
// Descriptions of the virtual camera's unit, by hand.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "extensions/extension_control.h"
#include "platform/virtual/firmware/virtual_unit.h"

namespace tavelo {

inline ExtensionControl describedNumber(std::string name, std::uint8_t selector, std::size_t length,
                                        BitField field) {
    ExtensionControl control;
    control.unit = virtualUnitGuid;
    control.selector = selector;
    control.length = length;
    control.field = field;
    control.name = std::move(name);
    control.titles = {{"en", "A title"}};
    return control;
}

inline ExtensionControl describedChoice(std::string name, std::uint8_t selector, std::size_t length,
                                        const std::vector<std::string>& words) {
    ExtensionControl control = describedNumber(std::move(name), selector, length, {0, 8, false});
    control.form = ExtensionForm::choice;
    for (const std::string& word : words)
        control.choices.push_back({static_cast<std::int64_t>(control.choices.size()), word, {{"en", word}}});
    return control;
}

/// A choice, a number, a switch and a signed number.
inline std::vector<ExtensionControl> describedControls() {
    std::vector<ExtensionControl> controls{describedChoice("lamp-mode", 1, 2, {"off", "on", "blink"}),
                                           describedNumber("lamp-frequency", 1, 2, {8, 8, false}),
                                           describedNumber("hdr", 3, 1, {0, 1, false}),
                                           describedNumber("warmth", 3, 1, {1, 5, true})};
    controls[2].form = ExtensionForm::toggle;
    return controls;
}

} // namespace tavelo
