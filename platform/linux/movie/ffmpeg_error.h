// SPDX-License-Identifier: MIT
// FFmpeg's and the file system's reasons as errors of the seam.
#pragma once

#include <string>

#include "platform/error.h"

namespace tavelo {

/// @param code a negative result of an FFmpeg call; those made of an errno are the file system's
/// @param what was tried, as in "the encoder does not open"
Error ffmpegError(int code, const std::string& what);

/// @param number an errno
Error fileError(int number, const std::string& what);

/// A reason that the writer itself found.
Error movieError(ErrorCode code, const std::string& text);

} // namespace tavelo
