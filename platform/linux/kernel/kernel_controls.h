// SPDX-License-Identifier: MIT
// Answers the camera's class requests from V4L2 controls.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/linux/kernel/kernel_control_table.h"
#include "platform/linux/v4l2/v4l2_control_device.h"
#include "platform/usb_interface.h"

namespace tavelo {

/// bRequest of the USB Video Class.
enum class UvcRequest : std::uint8_t {
    setCur = 0x01,
    getCur = 0x81,
    getMin = 0x82,
    getMax = 0x83,
    getRes = 0x84,
    getLen = 0x85,
    getInfo = 0x86,
    getDef = 0x87,
};

/// What a request came to.
struct KernelReply {
    /// 0, or the errno that stood between the request and its answer.
    int error = 0;
    /// Of a read its answer, none if the camera has no such control or stalls the request.  Of a write the
    /// control's value as the driver took it.
    std::vector<std::uint8_t> bytes;
    /// A write that reached the control.
    bool written = false;
};

/// A read: the bytes that the camera itself would deliver, in its own length.
KernelReply readKernelControl(V4l2ControlDevice& device, const KernelControl& control, UvcRequest request);

/// A write of SET_CUR.  Of longer data the first bytes count, as in the camera.  ERANGE where a value is out
/// of the control's range: the camera would refuse it, the driver would silently take the nearest one.
/// A value between two steps is left to the driver, which takes the nearer step.
/// @param held the control's value as the caller last knew it, or empty.  A half of a pair that the caller
///             does not change is not written: another program may have moved it since.
KernelReply writeKernelControl(V4l2ControlDevice& device, const KernelControl& control,
                               std::span<const std::uint8_t> data, std::span<const std::uint8_t> held = {});

/// How an errno reads on the wire.  The driver turns a stalled request into one of several, and a stalled
/// read is an answer (success, without bytes), a stalled write a refusal.
UsbStatus usbStatusOf(int error, bool isWrite);

} // namespace tavelo
