// SPDX-License-Identifier: MIT
// The words that a pack's writer and reader share.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/camera_inspector.h"

namespace tavelo {

// All are pure.

/// Outcomes other than an answer; outcomeText() names them.
inline constexpr std::array unanswered{AnswerKind::stalled, AnswerKind::timedOut, AnswerKind::notAsked,
                                       AnswerKind::skipped, AnswerKind::failed};

inline constexpr std::array<std::string_view, 3> packTransports{"kernel", "usb", "virtual"};

constexpr std::string_view sourceText(AnswerSource source) {
    return source == AnswerSource::camera ? "camera" : "driver";
}

/// Bytes of UTF-8 beyond ASCII count as printable.
constexpr bool isPrintableByte(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return code >= 0x20 && code != 0x7F;
}

/// Whether it is "/dev/video" and a number of up to five digits.
constexpr bool isVideoNode(std::string_view path) {
    constexpr std::string_view start = "/dev/video";
    if (!path.starts_with(start)) return false;
    path.remove_prefix(start.size());
    return !path.empty() && path.size() <= 5 &&
           std::ranges::all_of(path, [](char digit) { return digit >= '0' && digit <= '9'; });
}

} // namespace tavelo
