// SPDX-License-Identifier: MIT
// The class requests of USB video controls.
#pragma once

#include <cstdint>

namespace tavelo {

/// bRequest.
enum class UvcRequest : std::uint8_t {
    setCur = 0x01,
    getCur = 0x81,
    getMin = 0x82,
    getMax = 0x83,
    getInfo = 0x86,
    getDef = 0x87,
};

/// bmRequestType: a class request to an interface.
enum class UvcRequestType : std::uint8_t {
    write = 0x21,
    read = 0xA1,
};

/// What GET_INFO answers.
namespace uvc_info {
inline constexpr std::uint8_t supportsGet = 0x01;
inline constexpr std::uint8_t supportsSet = 0x02;
} // namespace uvc_info

} // namespace tavelo
