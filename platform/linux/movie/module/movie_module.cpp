// SPDX-License-Identifier: MIT
#include "platform/linux/movie/module/movie_module.h"

#include <string_view>
#include <type_traits>

#include "platform/linux/movie/ffmpeg_asset_writer_platform.h"

// A result could not be returned: a function with C's name may not return a class.
extern "C" __attribute__((visibility("default"))) void taveloMakeMovies(
    const char* version, tavelo::Diagnostics& diagnostics,
    std::shared_ptr<tavelo::AssetWriterPlatform>& made) {
    if (std::string_view(version) == TAVELO_VERSION)
        made = tavelo::makeFfmpegAssetWriterPlatform(diagnostics);
}

static_assert(std::is_same_v<decltype(taveloMakeMovies), tavelo::MovieModuleFunction>);
