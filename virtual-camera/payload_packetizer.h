// SPDX-License-Identifier: MIT
// Splits frames into USB Video Class payloads and payloads into bus packets.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/virtual/firmware/virtual_camera_model.h"

namespace tavelo {

/// Each payload is a header and a piece of the frame.  On an isochronous endpoint a packet is a payload; on a
/// bulk endpoint a payload fills several packets and ends with a short one (empty if necessary) unless it has
/// the full agreed size.
///
/// Reentrant.
class PayloadPacketizer {
public:
    /// @param maxPayload bytes of a payload with its header, as agreed with the host
    PayloadPacketizer(StreamTransport transport, std::uint32_t maxPayload);

    /// Starts a frame; the previous one is abandoned if it is not finished.
    /// @param frame must stay valid until it is finished or another begins; not empty
    /// @param time when it was taken, in ticks of the camera's clock
    void begin(std::span<const std::uint8_t> frame, std::uint32_t time);

    /// Whether the whole frame has been handed out.
    bool finished() const;

    /// Fills the next packet of an unfinished frame.  Returns its size; 0 is an empty packet.
    std::size_t packet(std::span<std::uint8_t> room);

private:
    static constexpr std::size_t headerSize = 6;

    void beginPayload(std::size_t size);
    std::size_t copy(std::span<std::uint8_t> room);

    const StreamTransport transport_;
    const std::size_t maxPayload_;
    std::span<const std::uint8_t> frame_;
    std::size_t sent_ = 0; ///< bytes of the frame that are in payloads already begun
    std::uint32_t time_ = 0;
    bool frameIdentifier_ = true; ///< toggles from frame to frame

    std::array<std::uint8_t, headerSize> header_{};
    std::span<const std::uint8_t> piece_; ///< the current payload's part of the frame
    std::size_t at_ = headerSize;         ///< bytes of the current payload that are handed out
    bool emptyPacketDue_ = false;
};

} // namespace tavelo
