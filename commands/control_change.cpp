// SPDX-License-Identifier: MIT
#include "commands/control_change.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>

#include "commands/lower_case.h"
#include "commands/unit_control.h"

namespace tavelo {
namespace {

// Values have 32 bits at most; a double holds them exactly.
constexpr double largest = 4294967295.0;

std::optional<double> number(std::string_view text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber && std::abs(value) <= largest ? std::optional(value) : std::nullopt;
}

std::optional<double> wholeValue(std::string_view text) {
    const auto value = number(text);
    return value && *value == std::floor(*value) ? value : std::nullopt;
}

std::string valueHelp(const NamedControl& control) {
    if (control.words.empty()) return "a number, =-5, +5, -5, 50% or default";
    std::string help;
    for (const ChoiceWord& each : control.words)
        help += std::string(each.word) + ", ";
    return help + "its number or default";
}

std::optional<std::int64_t> valueOfWord(const NamedControl& control, const std::string& word) {
    const auto found = std::ranges::find(control.words, word, &ChoiceWord::word);
    if (found != control.words.end()) return found->value;
    // As other programs write switches.
    if (isSwitch(control) && (word == "true" || word == "yes")) return 1;
    if (isSwitch(control) && (word == "false" || word == "no")) return 0;
    return {};
}

std::optional<ControlChange> parseValue(const NamedControl& control, std::string_view text) {
    using Kind = ControlChange::Kind;
    const std::string word = lowerCase(text);
    if (word == "default") return ControlChange{&control, Kind::defaultValue, 0};
    if (const auto value = valueOfWord(control, word))
        return ControlChange{&control, Kind::absolute, static_cast<double>(*value)};
    const bool isNumber = control.words.empty();
    if (isNumber && text.ends_with('%')) {
        const auto percent = number(text.substr(0, text.size() - 1));
        if (!percent || *percent < 0 || *percent > 100) return {};
        return ControlChange{&control, Kind::percent, *percent};
    }
    if (text.starts_with('=')) { // a number below zero
        const auto exact = wholeValue(text.substr(1));
        return exact ? std::optional(ControlChange{&control, Kind::absolute, *exact}) : std::nullopt;
    }
    const bool hasSign = text.starts_with('+') || text.starts_with('-');
    const auto value = wholeValue(text.starts_with('+') ? text.substr(1) : text);
    if (!value || text.starts_with("+-") || (hasSign && !isNumber)) return {};
    return ControlChange{&control, hasSign ? Kind::relative : Kind::absolute, *value};
}

std::string quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

// The values as they will be once the writes planned so far are done.
class Plan {
public:
    Plan(KTUVCManager& manager, bool force) : manager_(manager), force_(force) {}

    bool add(const ControlChange& change, std::string& reason) {
        const auto state = controlState(manager_, *change.control, true);
        if (!state) {
            reason = absenceText(manager_, *change.control) + " (taveloctl controls lists what it has)";
            return false;
        }
        const auto value = valueFor(change, *state, reason);
        if (!value || !isFree(*state, reason)) return false;
        append({state->control, *value});
        return true;
    }

    std::vector<PlannedWrite> writes() && { return std::move(writes_); }

private:
    std::int64_t current(const ControlState& state) const {
        const auto planned = values_.find(state.control);
        return planned != values_.end() ? planned->second : state.value;
    }

    std::optional<std::int64_t> valueFor(const ControlChange& change, const ControlState& state,
                                         std::string& reason) const {
        const std::string name(state.control->name);
        const std::int64_t lowest = state.minimum.value_or(state.lowest);
        const std::int64_t highest = state.maximum.value_or(state.highest);
        const auto number = static_cast<std::int64_t>(change.number);
        switch (change.kind) {
            case ControlChange::Kind::defaultValue:
                if (!state.defaultValue) reason = name + ": the camera names no default";
                return state.defaultValue;
            case ControlChange::Kind::relative:
                return std::clamp(current(state) + number, lowest, std::max(lowest, highest));
            case ControlChange::Kind::percent:
                if (!state.minimum || !state.maximum) {
                    reason = name + ": the camera names no range, so it has no percentage";
                    return {};
                }
                return *state.minimum + std::llround(change.number / 100 *
                                                     static_cast<double>(*state.maximum - *state.minimum));
            case ControlChange::Kind::absolute:
                break;
        }
        const bool isOffered =
            state.choices.empty() ||
            std::ranges::find(state.choices, number, &ChoiceWord::value) != state.choices.end();
        if (number >= lowest && number <= highest && isOffered) return number;
        reason = name + ": " + valueText(*state.control, number) + " is not possible: " + rangeText(state);
        return {};
    }

    // Whether no automatic rules the control, or none will.
    bool isFree(const ControlState& state, std::string& reason) {
        if (state.automatic == nullptr) return true;
        const std::int64_t manual = controlRow(state.control->control.value()).automatic->manualValue;
        const auto planned = values_.find(state.automatic);
        const bool rules = planned != values_.end() ? planned->second != manual : state.isAutomatic;
        if (!rules) return true;
        if (force_) {
            append({state.automatic, manual, true});
            return true;
        }
        reason = std::string(state.control->name) + ": " + std::string(state.automatic->name) +
                 " sets it; turn that off with " + std::string(state.automatic->name) + "=" +
                 valueText(*state.automatic, manual) + ", or use --force";
        return false;
    }

    void append(const PlannedWrite& planned) {
        writes_.push_back(planned);
        values_[planned.control] = planned.value;
    }

    KTUVCManager& manager_;
    const bool force_;
    std::vector<PlannedWrite> writes_;
    std::map<const NamedControl*, std::int64_t> values_;
};

} // namespace

std::optional<ControlChange> parseControlChange(std::string_view text, const FindControl& find,
                                                std::string& reason) {
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos || equals == 0) {
        reason = quoted(text) + " is not NAME=VALUE";
        return {};
    }
    const NamedControl* const control = find(text.substr(0, equals));
    if (control == nullptr) {
        reason = "no control is called " + quoted(text.substr(0, equals)) +
                 " (taveloctl controls lists the names)";
        return {};
    }
    auto change = parseValue(*control, text.substr(equals + 1));
    if (!change)
        reason = std::string(control->name) + ": " + quoted(text.substr(equals + 1)) + " is not " +
                 valueHelp(*control);
    return change;
}

std::optional<std::vector<PlannedWrite>> planChanges(KTUVCManager& manager,
                                                     std::span<const ControlChange> changes, bool force,
                                                     std::string& reason) {
    Plan plan(manager, force);
    for (const ControlChange& change : changes)
        if (!plan.add(change, reason)) return {};
    return std::move(plan).writes();
}

std::optional<std::int64_t> write(KTUVCManager& manager, const PlannedWrite& planned) {
    const NamedControl& control = *planned.control;
    if (control.extension != nullptr) return writeUnitControl(manager, control, planned.value);
    const KTUVCControl ofTheClass = control.control.value();
    bool taken = false;
    const auto handle = [&taken](bool success) { taken = success; };
    switch (control.half) {
        case ControlHalf::whole:
            manager.setControlWithComplitionHandle(ofTheClass, planned.value, handle);
            break;
        case ControlHalf::pan:
            manager.setPanWithComplitionHandle(planned.value, handle);
            break;
        case ControlHalf::tilt:
            manager.setTiltWithComplitionHandle(planned.value, handle);
            break;
    }
    if (!taken) return {};
    return shareOf(control, manager.record(ofTheClass)->val());
}

std::string writeFailureText(const KTUVCManager& manager, const PlannedWrite& planned) {
    const std::string text = std::string(planned.control->name) + ": the camera ";
    switch (manager.failure()) {
        case ErrorCode::gone:
            return text + "was unplugged";
        case ErrorCode::none:
        case ErrorCode::refused:
            return text + "refused " + valueText(*planned.control, planned.value);
        default:
            return text + "did not answer";
    }
}

std::string rangeText(const ControlState& state) {
    std::string text;
    for (const ChoiceWord& choice : state.choices)
        text += (text.empty() ? "it is one of " : ", ") + std::string(choice.word);
    if (!text.empty()) return text;
    const std::string range = std::to_string(state.minimum.value_or(state.lowest)) + " to " +
                              std::to_string(state.maximum.value_or(state.highest));
    if (state.minimum || state.maximum) return "it goes from " + range;
    text = "the camera names no range";
    return state.control->extension == nullptr ? text : text + ", and it holds " + range;
}

} // namespace tavelo
