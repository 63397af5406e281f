// SPDX-License-Identifier: MIT
// Answers requests of the USB Video Class through V4L2 controls.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/error.h"
#include "platform/linux/kernel/kernel_control_table.h"
#include "platform/linux/v4l2/v4l2_controls.h"

namespace tavelo {

/// The result of a request.
struct KernelReply {
    /// 0, or the errno of the failure.
    int error = 0;
    /// Of a read, the answer; empty if the camera has no such control or stalls the request.  Of a write,
    /// the control's value as the driver set it.
    std::vector<std::uint8_t> bytes;
    /// Whether a write reached the control.
    bool written = false;
};

/// Reads the bytes that the camera itself would return, in the control's own length.
KernelReply readKernelControl(V4l2Node& device, const KernelControl& control, UvcRequest request);

/// Handles SET_CUR.  Only the first bytes of longer data are used, as in the camera.  ERANGE if a value is
/// outside the control's range: the camera would refuse it, the driver would silently clamp it.  A value
/// between two steps is left to the driver, which takes the nearer step.
/// @param held the control's value as the caller last knew it, or empty.  A half of a pair that the caller
///     does not change is not written: another program may have moved it since.
KernelReply writeKernelControl(V4l2Node& device, const KernelControl& control,
                               std::span<const std::uint8_t> data, std::span<const std::uint8_t> held = {});

/// The error for the errno of a request.  The driver turns a stalled request into one of several; a stalled
/// read is an answer (no error, no bytes), a stalled write a refusal.
ErrorCode controlErrorOf(int error, bool isWrite);

/// The same for a request to an extension unit: what the driver itself does not let through counts as
/// stalled, and a control that the unit does not list as answered with nothing.
ErrorCode unitErrorOf(int error, bool isWrite);

} // namespace tavelo
