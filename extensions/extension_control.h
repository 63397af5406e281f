// SPDX-License-Identifier: MIT
// A control of an extension unit, as a file describes it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "extensions/bit_field.h"
#include "platform/extension_unit.h"

namespace tavelo {

/// A title by language, named as the string tables are ("en", "zh-Hans").  There is always an English one.
using Titles = std::map<std::string, std::string, std::less<>>;

/// The title in a language, or the English one.
std::string_view titleIn(const Titles& titles, std::string_view language);

struct ExtensionChoice {
    std::int64_t value = 0;
    std::string word; ///< as people type it
    Titles titles;
};

enum class ExtensionForm : std::uint8_t {
    number,
    toggle, ///< any value but 0 is on
    choice, ///< one of `choices`
};

struct ExtensionControl {
    Guid unit{};
    std::uint8_t selector = 0;
    std::size_t length = 0; ///< bytes of the whole value, which other controls may share
    BitField field;         ///< within them
    ExtensionForm form = ExtensionForm::number;

    std::string name; ///< as people type it, with hyphens
    Titles titles;
    std::string measure;                  ///< what a number counts: "K"; may be empty
    std::vector<ExtensionChoice> choices; ///< no value and no word twice

    // What is absent is asked of the camera.
    std::optional<std::int64_t> minimum; ///< of a number, like the next two
    std::optional<std::int64_t> maximum;
    std::optional<std::int64_t> step;
    std::optional<std::int64_t> defaultValue;
};

} // namespace tavelo
