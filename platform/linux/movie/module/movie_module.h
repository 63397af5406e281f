// SPDX-License-Identifier: MIT
// What the module of movies offers to the program that loads it.
#pragma once

#include <memory>

#include "platform/asset_writer.h"
#include "platform/diagnostics.h"

namespace tavelo {

/// The module's file, and the name of its only function, which calls makeFfmpegAssetWriterPlatform().
inline constexpr const char* movieModuleFile = "tavelo-movie.so";
inline constexpr const char* movieModuleFunction = "taveloMakeMovies";
/// Makes nothing for a program of another version, whose classes may have another layout: an upgrade may
/// replace the module while the panel runs.
using MovieModuleFunction = void(const char* version, Diagnostics& diagnostics,
                                 std::shared_ptr<AssetWriterPlatform>& made);

} // namespace tavelo
