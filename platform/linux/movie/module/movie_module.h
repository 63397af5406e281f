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
using MovieModuleFunction = void(Diagnostics& diagnostics, std::shared_ptr<AssetWriterPlatform>& made);

} // namespace tavelo
