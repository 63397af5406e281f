// SPDX-License-Identifier: MIT
// The virtual camera's own extension unit: what a maker might put beside the class.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/extension_unit.h"
#include "platform/uvc/uvc_protocol.h"
#include "platform/virtual/firmware/firmware_controls.h"

namespace tavelo {

/// 7a1d4c3e-52b8-4f06-9d2a-c0e5b91f6a48
inline constexpr Guid virtualUnitGuid{0x3E, 0x4C, 0x1D, 0x7A, 0xB8, 0x52, 0x06, 0x4F,
                                      0x9D, 0x2A, 0xC0, 0xE5, 0xB9, 0x1F, 0x6A, 0x48};

/// Its controls, by selector:
///
///     1  lamp: mode (0 off, 1 on, 2 blink), then blinks in ten seconds (1 to 200)
///     2  field of view: 0 wide, 1 medium, 2 narrow
///     3  bit 0: high dynamic range; bits 1 to 5: warmth, -10 to 10, signed; the two others are kept
///
/// A byte out of its range is refused and the whole value with it.  None of them changes the picture.
/// Reentrant.
class VirtualUnit {
public:
    static constexpr std::uint8_t controlCount = 3;

    static bool lists(std::uint8_t selector) { return selector >= 1 && selector <= controlCount; }

    ControlResult read(std::uint8_t selector, UvcRequest request) const;
    /// SET_CUR.
    ControlResult write(std::uint8_t selector, std::span<const std::uint8_t> bytes);

private:
    std::array<std::vector<std::uint8_t>, controlCount> values_{{{0, 10}, {0}, {0}}};
};

} // namespace tavelo
