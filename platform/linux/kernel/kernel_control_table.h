// SPDX-License-Identifier: MIT
// The V4L2 control for each control of the USB Video Class.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/uvc/controls.h"

namespace tavelo {

/// How the value of the V4L2 control maps to the bytes of the camera's control.
enum class KernelEncoding : std::uint8_t {
    number,       ///< the same number, in the control's own length
    exposureMode, ///< V4L2 counts the modes, the camera has one bit for each
    pair,         ///< two V4L2 controls, four bytes each
};

/// Which range requests the camera's control answers besides GET_CUR, GET_INFO and GET_LEN.
enum class KernelRange : std::uint8_t {
    none,
    defaultOnly,          ///< GET_DEF
    defaultAndResolution, ///< GET_DEF, and GET_RES for a bit map of the supported modes
    full,                 ///< GET_MIN, GET_MAX, GET_RES, GET_DEF
};

struct KernelControl {
    ControlAddress address;
    std::uint8_t size; ///< bytes on the wire
    bool isSigned;     ///< how a written value shorter than V4L2's 32 bits is widened
    KernelEncoding encoding;
    KernelRange range;
    std::uint32_t id;       ///< V4L2_CID_...
    std::uint32_t secondId; ///< of a pair, else 0
    std::string_view name;  ///< for people
};

/// Every control that the kernel maps, each once.
std::span<const KernelControl> kernelControls();

/// Null for a control that the kernel does not map: scanning mode, roll, relative exposure time, and any
/// that this program does not know.
const KernelControl* findKernelControl(ControlAddress address);

} // namespace tavelo
