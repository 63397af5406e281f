// SPDX-License-Identifier: MIT
// What the window shows of one control.
#pragma once

#include <QString>
#include <cstdint>
#include <optional>
#include <vector>

namespace tavelo {

enum class ControlShape : std::uint8_t {
    range,  ///< a slider with a number field
    choice, ///< a menu
    flag,   ///< a switch: 0, or anything else for on
};

struct ShownChoice {
    std::int64_t value = 0;
    QString text;

    friend bool operator==(const ShownChoice&, const ShownChoice&) = default;
};

/// A camera may hold a value that none of its choices has; its text is the number.
void addIfMissing(std::vector<ShownChoice>& choices, std::int64_t value);

/// Numbers are in the unit that is shown.
struct ControlDescription {
    QString key; ///< no other control of any model has it
    QString title;
    ControlShape kind = ControlShape::range;
    std::int64_t minimum = 0; ///< of a range
    std::int64_t maximum = 0;
    std::int64_t step = 1;
    QString suffix; ///< the unit, with what separates it from the number
    std::vector<ShownChoice> choices;
    std::optional<std::int64_t> defaultValue; ///< as far as it is known
    std::int64_t value = 0;
    /// The title of the automatic control that sets this one now; empty if the user may.
    QString setBy;

    /// Whether the same widgets can show both.
    bool hasSameShape(const ControlDescription& other) const {
        return key == other.key && title == other.title && kind == other.kind && minimum == other.minimum &&
               maximum == other.maximum && step == other.step && suffix == other.suffix &&
               choices == other.choices && defaultValue == other.defaultValue;
    }
};

struct ControlGroup {
    QString title;
    std::vector<ControlDescription> controls;
};

} // namespace tavelo
