// SPDX-License-Identifier: MIT
#include "commands/control_names.h"

#include <algorithm>

#include "commands/lower_case.h"

namespace tavelo {
namespace {

using enum KTUVCControl;
using enum ControlHalf;

constexpr std::array scanning{ChoiceWord{0, "interlaced"}, ChoiceWord{1, "progressive"}};
constexpr std::array exposureModes{ChoiceWord{1, "manual"}, ChoiceWord{2, "auto"},
                                   ChoiceWord{4, "shutter-priority"}, ChoiceWord{8, "aperture-priority"}};
constexpr std::array frequencies{ChoiceWord{0, "off"}, ChoiceWord{1, "50hz"}, ChoiceWord{2, "60hz"},
                                 ChoiceWord{3, "auto"}};
constexpr std::array switches{ChoiceWord{0, "off"}, ChoiceWord{1, "on"}};
constexpr std::span<const ChoiceWord> numbers;

// clang-format off
constexpr std::array<NamedControl, controlCount + 1> table{{
    {scanningMode,         whole, "scanning-mode",                  {},                                              scanning,      {}},
    {autoExposureMode,     whole, "auto-exposure-mode",             {"auto_exposure", "exposure_auto"},              exposureModes, {}},
    {autoExposurePriority, whole, "auto-exposure-priority",         {"exposure_dynamic_framerate", "exposure_auto_priority"}, switches, {}},
    {exposureTime,         whole, "exposure-time",                  {"exposure_time_absolute", "exposure_absolute"}, numbers,       "100 us"},
    {iris,                 whole, "iris",                           {"iris_absolute"},                               numbers,       {}},
    {autoFocus,            whole, "focus-auto",                     {"focus_automatic_continuous"},                  switches,      {}},
    {focus,                whole, "focus",                          {"focus_absolute"},                              numbers,       {}},
    {zoom,                 whole, "zoom",                           {"zoom_absolute"},                               numbers,       {}},
    {panTilt,              pan,   "pan",                            {"pan_absolute"},                                numbers,       "arc seconds"},
    {panTilt,              tilt,  "tilt",                           {"tilt_absolute"},                               numbers,       "arc seconds"},
    {roll,                 whole, "roll",                           {"roll_absolute"},                               numbers,       "degrees"},
    {backlight,            whole, "backlight-compensation",         {},                                              numbers,       {}},
    {bright,               whole, "brightness",                     {},                                              numbers,       {}},
    {contrast,             whole, "contrast",                       {},                                              numbers,       {}},
    {gain,                 whole, "gain",                           {},                                              numbers,       {}},
    {powerLine,            whole, "power-line-frequency",           {},                                              frequencies,   {}},
    {autoHue,              whole, "hue-auto",                       {"hue_automatic"},                               switches,      {}},
    {hue,                  whole, "hue",                            {},                                              numbers,       {}},
    {saturation,           whole, "saturation",                     {},                                              numbers,       {}},
    {sharpness,            whole, "sharpness",                      {},                                              numbers,       {}},
    {gamma,                whole, "gamma",                          {},                                              numbers,       {}},
    {autoWhiteBalance,     whole, "white-balance-temperature-auto", {"white_balance_automatic", "white_balance_auto"}, switches,    {}},
    {whiteBalance,         whole, "white-balance-temperature",      {"white_balance"},                               numbers,       "K"},
}};
// clang-format on

char folded(char letter) {
    if (letter == '_') return '-';
    return lowerCase(letter);
}

} // namespace

bool isSameControlName(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, folded, folded);
}

std::span<const ChoiceWord> switchWords() {
    return switches;
}

std::span<const NamedControl> namedControls() {
    return table;
}

const NamedControl* controlNamed(std::string_view name) {
    if (name.empty()) return nullptr;
    const auto found = std::ranges::find_if(table, [name](const NamedControl& each) {
        return isSameControlName(each.name, name) ||
               std::ranges::any_of(each.aliases,
                                   [name](std::string_view alias) { return isSameControlName(alias, name); });
    });
    return found != table.end() ? &*found : nullptr;
}

bool isClassControl(std::string_view name) {
    return controlNamed(name) != nullptr;
}

const NamedControl& namedControl(KTUVCControl control) {
    return *std::ranges::find(table, control, &NamedControl::control);
}

bool isSwitch(const NamedControl& control) {
    if (control.extension != nullptr) return control.extension->form == ExtensionForm::toggle;
    return control.control && controlRow(*control.control).type == KTUVCParameterType::flag;
}

std::int64_t shareOf(const NamedControl& control, std::int64_t value) {
    switch (control.half) {
        case whole:
            return value;
        case pan:
            return KTUVCParameters::first32BitValueFrom64BitValue(value);
        case tilt:
            return KTUVCParameters::second32BitValueFrom64BitValue(value);
    }
    return value;
}

std::string valueText(const NamedControl& control, std::int64_t value) {
    const auto word = std::ranges::find(control.words, value, &ChoiceWord::value);
    return word != control.words.end() ? std::string(word->word) : std::to_string(value);
}

} // namespace tavelo
