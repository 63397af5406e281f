// SPDX-License-Identifier: MIT
// Faults that can be injected into a virtual camera.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/uvc/uvc_protocol.h"
#include "platform/virtual/firmware/firmware_control.h"

namespace tavelo {

enum class FaultKind : std::uint8_t {
    stall,      ///< refuses
    delay,      ///< answers late
    shortReply, ///< reads deliver fewer bytes than they should
    silence,    ///< does not answer
};

enum class FaultDirection : std::uint8_t { both, reads, writes };

/// One injected fault, active until the faults are cleared.  Applies to class requests to the camera terminal
/// and the processing unit; `control`, `request` and `direction` narrow it further.
struct FirmwareFault {
    FaultKind kind = FaultKind::stall;
    std::optional<ControlAddress> control{};
    std::optional<UvcRequest> request{};
    FaultDirection direction = FaultDirection::both;

    std::uint8_t errorCode = uvc::errorUnknown; ///< for a stall
    std::chrono::milliseconds wait{0};          ///< for a delay
    std::size_t length = 0;                     ///< for a short reply: bytes that are still sent
};

} // namespace tavelo
