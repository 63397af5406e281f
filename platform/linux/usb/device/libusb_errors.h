// SPDX-License-Identifier: MIT
// libusb's errors in the words of the platform.
#pragma once

#include <libusb.h>

#include "platform/error.h"

namespace tavelo {

/// @param result of a call to libusb; 0 or more is none
ErrorCode errorCodeOf(int result);
/// How a transfer ended.
ErrorCode errorCodeOf(libusb_transfer_status status);
/// The same with libusb's sentence about it.
Error errorOf(int result);
/// @param error errno after an attempt to open a device's node
Error openErrorOf(int error);

} // namespace tavelo
