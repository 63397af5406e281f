// SPDX-License-Identifier: MIT
// The name of a camera control.
#pragma once

#include <cstdint>

namespace tavelo {

/// What has controls: the entity that the USB Video Class puts them into.
enum class UvcEntity : std::uint8_t { cameraTerminal, processingUnit };

/// A control as the class names it.
struct ControlAddress {
    UvcEntity entity = UvcEntity::cameraTerminal;
    std::uint8_t selector = 0;

    friend constexpr bool operator==(const ControlAddress&, const ControlAddress&) = default;
};

} // namespace tavelo
