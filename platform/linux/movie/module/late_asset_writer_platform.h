// SPDX-License-Identifier: MIT
// Movies, whose libraries are loaded when the first one is made.
#pragma once

#include <filesystem>
#include <memory>

#include "platform/asset_writer.h"
#include "platform/diagnostics.h"

namespace tavelo {

/// The installed module of movies, or the one beside this program; a bare name if there is neither.
std::filesystem::path movieModule();

/// Loads the module for the first movie, which takes about 30 ms of the caller's thread.  If it cannot be
/// loaded, makeWriter() fails and says why; the next call tries again.  Call makeWriter() before the inputs
/// are made.
/// @param diagnostics must outlive the platform and its writers
std::shared_ptr<AssetWriterPlatform> makeLateAssetWriterPlatform(
    Diagnostics& diagnostics, const std::filesystem::path& module = movieModule());

} // namespace tavelo
