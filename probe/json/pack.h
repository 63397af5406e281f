// SPDX-License-Identifier: MIT
// A camera record as a file to hand on: docs/probe-pack.md says what is in it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/error.h"
#include "platform/uvc/camera_record.h"

namespace tavelo {

inline constexpr std::string_view packFormat = "tavelo camera pack";
inline constexpr int packVersion = 1;

/// The longest pack that is read, in bytes.
inline constexpr std::size_t longestPack = std::size_t{4} << 20U;

/// The record as JSON in ASCII, the same bytes for the same record.  Texts that are not printable are made
/// so, and a node that is no "/dev/videoN" is left out.  Reentrant.
std::string writePack(const CameraRecord& record);

/// Accepts any bytes.  Nothing, with the reason in one line, unless all of it is a pack of this version
/// within the bounds of camera_record.h.  Reentrant.
std::optional<CameraRecord> readPack(std::string_view text, Error& error);

} // namespace tavelo
