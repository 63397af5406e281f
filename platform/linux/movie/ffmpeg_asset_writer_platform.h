// SPDX-License-Identifier: MIT
// The movie half of the Linux backend.
#pragma once

#include <memory>

#include "platform/asset_writer.h"
#include "platform/diagnostics.h"

namespace tavelo {

struct MovieTools;

/// Silences FFmpeg's own messages in the whole program: failures are reported as errors.
/// @param diagnostics must outlive the platform and its writers; gets, for each movie, the encoder used
std::shared_ptr<AssetWriterPlatform> makeFfmpegAssetWriterPlatform(Diagnostics& diagnostics);
/// The same with other tools.
std::shared_ptr<AssetWriterPlatform> makeFfmpegAssetWriterPlatform(Diagnostics& diagnostics,
                                                                   const MovieTools& tools);

} // namespace tavelo
