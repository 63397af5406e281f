// SPDX-License-Identifier: MIT
// The movie half of the Linux backend.
#pragma once

#include <memory>

#include "platform/asset_writer.h"
#include "platform/diagnostics.h"

namespace tavelo {

struct MovieTools;

/// Silences FFmpeg's own messages for the whole program: what fails is told as errors.
/// @param diagnostics must outlive the platform and its writers; told for each movie which encoder writes it
std::shared_ptr<AssetWriterPlatform> makeFfmpegAssetWriterPlatform(Diagnostics& diagnostics);
/// The same with other tools.
std::shared_ptr<AssetWriterPlatform> makeFfmpegAssetWriterPlatform(Diagnostics& diagnostics,
                                                                   const MovieTools& tools);

} // namespace tavelo
