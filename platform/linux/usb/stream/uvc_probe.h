// SPDX-License-Identifier: MIT
// Probe and commit, the host's side: agreeing with the camera on what to stream.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/linux/usb/device/usb_handle.h"
#include "platform/uvc/uvc_protocol.h"

namespace tavelo {

/// The bytes of the probe and commit controls; fields that we do not know stay as the camera wrote them.
class UvcProbe {
public:
    static constexpr std::size_t smallest = 26;
    static constexpr std::size_t largest = 48;
    static constexpr std::size_t sizeFor(std::uint16_t version) {
        return version >= uvc::version15 ? largest : version >= uvc::version11 ? 34 : smallest;
    }

    /// All zeros except the hint to keep the frame interval.
    explicit UvcProbe(std::uint16_t version);

    std::uint8_t formatIndex() const { return bytes_[2]; }
    std::uint8_t frameIndex() const { return bytes_[3]; }
    std::uint32_t frameInterval() const; ///< in 100 ns
    std::uint32_t maxFrameSize() const;  ///< in bytes
    std::uint32_t maxPayload() const;    ///< in bytes, with the header

    void setFrame(std::uint8_t formatIndex, std::uint8_t frameIndex);
    void setFrameInterval(std::uint32_t interval);

    std::span<std::uint8_t> bytes() { return std::span(bytes_).first(size_); }
    std::span<const std::uint8_t> bytes() const { return std::span(bytes_).first(size_); }
    /// Call this if the camera's answer is shorter.
    void shrink(std::size_t size) { size_ = size; }

private:
    std::array<std::uint8_t, largest> bytes_{};
    std::size_t size_;
};

/// Asks for what `probe` holds and replaces it with the camera's answer.  An answer that is too short is
/// `refused` too.
/// @param interface the number of the streaming interface
ErrorCode probeStream(UsbHandle& camera, std::uint8_t interface, UvcProbe& probe);

ErrorCode commitStream(UsbHandle& camera, std::uint8_t interface, const UvcProbe& probe);

} // namespace tavelo
