// SPDX-License-Identifier: MIT
// Errors of FFmpeg as the platform's errors.
#pragma once

#include <string>

#include "platform/error.h"
#include "platform/linux/file_error.h"

namespace tavelo {

/// @param code a negative result of an FFmpeg call; if it contains an errno, the error is the file system's
/// @param what failed, as in "the encoder does not open"
Error ffmpegError(int code, const std::string& what);

/// An error that the writer itself found.
Error movieError(ErrorCode code, const std::string& text);

} // namespace tavelo
