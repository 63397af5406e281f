// SPDX-License-Identifier: MIT
#include "platform/linux/movie/ffmpeg_asset_writer_platform.h"

extern "C" {
#include <libavutil/log.h>
}
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/linux/movie/ffmpeg_asset_writer.h"
#include "platform/linux/movie/ffmpeg_error.h"

namespace tavelo {
namespace {

/// @return 0 if a file can be created there, else an errno
int obstacleAt(const std::filesystem::path& path) {
    struct stat there {};
    if (::lstat(path.c_str(), &there) == 0) return EEXIST;
    if (errno != ENOENT) return errno;
    if (!path.has_filename()) return EISDIR;
    const auto folder = path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
    return ::access(folder.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
}

class FfmpegAssetWriterPlatform final : public AssetWriterPlatform {
public:
    FfmpegAssetWriterPlatform(const MovieTools& tools, Diagnostics& diagnostics)
        : tools_(tools),
          diagnostics_(diagnostics) {
        av_log_set_level(AV_LOG_QUIET);
    }

    std::unique_ptr<AssetWriter> makeWriter(const std::string& path, MovieFileType type,
                                            Error& error) override {
        if (const int obstacle = obstacleAt(path); obstacle != 0) {
            error = fileError(obstacle, "the movie file cannot be made");
            return nullptr;
        }
        return std::make_unique<FfmpegAssetWriter>(path, type, tools_, diagnostics_);
    }
    std::shared_ptr<AssetWriterInput> makeVideoInput(const std::optional<VideoSettings>& settings) override {
        return std::make_shared<FfmpegAssetWriterInput>(settings);
    }
    std::shared_ptr<AssetWriterInput> makeAudioInput(const std::optional<AudioSettings>& settings) override {
        return std::make_shared<FfmpegAssetWriterInput>(settings);
    }

private:
    const MovieTools tools_;
    Diagnostics& diagnostics_;
};

} // namespace

std::shared_ptr<AssetWriterPlatform> makeFfmpegAssetWriterPlatform(Diagnostics& diagnostics) {
    return makeFfmpegAssetWriterPlatform(diagnostics, MovieTools());
}

std::shared_ptr<AssetWriterPlatform> makeFfmpegAssetWriterPlatform(Diagnostics& diagnostics,
                                                                   const MovieTools& tools) {
    return std::make_shared<FfmpegAssetWriterPlatform>(tools, diagnostics);
}

} // namespace tavelo
