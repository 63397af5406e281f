// SPDX-License-Identifier: MIT
// Which microphone a movie gets.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/error.h"
#include "platform/sound_source.h"

namespace tavelo {

struct SoundChoice {
    enum class Kind : std::uint8_t {
        off,
        automatic, ///< the camera's own microphone
        named,
    };

    Kind kind = Kind::off;
    std::string name{}; ///< of a microphone, or its description

    friend bool operator==(const SoundChoice&, const SoundChoice&) = default;
};

/// "off", "auto", or else the name of a microphone.  Nothing for an empty text.
std::optional<SoundChoice> soundChoiceOf(std::string_view text);

/// Nothing, with `error` set, if there is no such microphone: the code is `gone`.
/// @param cameraPlace where the camera is plugged in; see CaptureDevice::place()
std::optional<Microphone> chooseMicrophone(const std::vector<Microphone>& microphones,
                                           const SoundChoice& choice, std::string_view cameraPlace,
                                           Error& error);

} // namespace tavelo
