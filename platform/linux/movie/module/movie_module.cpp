// SPDX-License-Identifier: MIT
#include "platform/linux/movie/module/movie_module.h"

#include <type_traits>

#include "platform/linux/movie/ffmpeg_asset_writer_platform.h"

// A result could not be returned: a function with C's name may not return a class.
extern "C" __attribute__((visibility("default"))) void taveloMakeMovies(
    tavelo::Diagnostics& diagnostics, std::shared_ptr<tavelo::AssetWriterPlatform>& made) {
    made = tavelo::makeFfmpegAssetWriterPlatform(diagnostics);
}

static_assert(std::is_same_v<decltype(taveloMakeMovies), tavelo::MovieModuleFunction>);
