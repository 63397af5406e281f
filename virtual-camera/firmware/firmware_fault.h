// SPDX-License-Identifier: MIT
// Faults that a virtual camera shows when told to.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "virtual-camera/firmware/firmware_control.h"
#include "virtual-camera/firmware/uvc_protocol.h"

namespace tavelo {

enum class FaultKind : std::uint8_t {
    stall,      ///< refuses
    delay,      ///< answers late
    shortReply, ///< reads deliver fewer bytes than they should
    silence,    ///< does not answer
};

enum class FaultDirection : std::uint8_t { both, reads, writes };

/// One order, in force from when it is given until the faults are cleared.  It concerns class requests to the
/// camera terminal and the processing unit; each of the first three narrows it further.
struct FirmwareFault {
    FaultKind kind = FaultKind::stall;
    std::optional<ControlAddress> control{};
    std::optional<std::uint8_t> request{}; ///< bRequest
    FaultDirection direction = FaultDirection::both;

    std::uint8_t errorCode = uvc::errorUnknown; ///< of a stall
    std::chrono::milliseconds wait{0};          ///< of a delay
    std::size_t length = 0;                     ///< of a short reply: bytes that still come
};

} // namespace tavelo
