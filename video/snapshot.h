// SPDX-License-Identifier: MIT
// Writes a frame as a PNG file.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>

#include "platform/error.h"
#include "platform/pixel_buffer.h"

namespace tavelo {

/// Called when a snapshot has ended.
using SnapshotHandler = std::function<void(bool success, const Error& error)>;

struct SnapshotWork;

/// A step from a frame to the bytes of a PNG file, and the error's text if it fails.
struct SnapshotStep {
    bool (*run)(SnapshotWork& work);
    const char* failure;
};

/// All steps, in order.
std::span<const SnapshotStep> snapshotSteps();

/// Writes the frame to a file atomically; replaces an existing file.  Blocks until the file is written.
/// Reentrant.
/// @param steps tests replace some, to make them fail
/// @return the error; empty on success
std::optional<Error> writeSnapshot(const PixelBuffer& frame, const std::string& filePath,
                                   std::span<const SnapshotStep> steps = snapshotSteps());

} // namespace tavelo
