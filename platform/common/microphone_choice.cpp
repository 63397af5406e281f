// SPDX-License-Identifier: MIT
#include "platform/common/microphone_choice.h"

#include <algorithm>

namespace tavelo {
namespace {

const Microphone* firstOf(const std::vector<Microphone>& microphones, auto&& fits) {
    const auto found = std::ranges::find_if(microphones, fits);
    return found != microphones.end() ? &*found : nullptr;
}

const Microphone* named(const std::vector<Microphone>& microphones, std::string_view name) {
    // A description may be another microphone's name.
    if (const auto* found = firstOf(microphones, [&](const auto& each) { return each.name == name; }))
        return found;
    return firstOf(microphones, [&](const auto& each) { return each.description == name; });
}

std::string namesOf(const std::vector<Microphone>& microphones) {
    std::string names;
    for (const Microphone& each : microphones)
        names += (names.empty() ? "" : ", ") + each.name;
    return names.empty() ? "none" : names;
}

} // namespace

std::optional<SoundChoice> soundChoiceOf(std::string_view text) {
    using Kind = SoundChoice::Kind;
    if (text.empty()) return std::nullopt;
    if (text == "off") return SoundChoice{};
    if (text == "auto") return SoundChoice{Kind::automatic};
    return SoundChoice{Kind::named, std::string(text)};
}

std::optional<Microphone> chooseMicrophone(const std::vector<Microphone>& microphones,
                                           const SoundChoice& choice, std::string_view cameraPlace,
                                           Error& error) {
    const Microphone* chosen = nullptr;
    if (choice.kind == SoundChoice::Kind::named) {
        chosen = named(microphones, choice.name);
        if (chosen == nullptr)
            error = {ErrorCode::gone,
                     "there is no microphone " + choice.name + " (there is: " + namesOf(microphones) + ")"};
    } else {
        chosen = cameraPlace.empty()
                     ? nullptr
                     : firstOf(microphones, [&](const auto& each) { return each.place == cameraPlace; });
        if (chosen == nullptr) error = {ErrorCode::gone, "the camera has no microphone of its own"};
    }
    return chosen != nullptr ? std::optional(*chosen) : std::nullopt;
}

} // namespace tavelo
