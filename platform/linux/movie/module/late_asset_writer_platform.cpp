// SPDX-License-Identifier: MIT
#include "platform/linux/movie/module/late_asset_writer_platform.h"

#include <mutex>
#include <utility>

#include "platform/linux/late_module.h"
#include "platform/linux/movie/module/movie_module.h"

namespace tavelo {
namespace {

namespace fs = std::filesystem;

/// Null with `error` set if the module cannot be loaded.
std::shared_ptr<AssetWriterPlatform> load(const fs::path& module, Diagnostics& diagnostics, Error& error) {
    std::string reason;
    void* const function = loadModule(module, movieModuleFunction, reason);
    std::shared_ptr<AssetWriterPlatform> made;
    if (function != nullptr) {
        reinterpret_cast<MovieModuleFunction*>(function)(TAVELO_VERSION, diagnostics, made);
        if (!made) reason = otherVersionText(module);
    }
    if (!made) error = {ErrorCode::failed, "no movies: " + reason};
    return made;
}

class LateAssetWriterPlatform final : public AssetWriterPlatform {
public:
    LateAssetWriterPlatform(Diagnostics& diagnostics, fs::path module)
        : diagnostics_(diagnostics),
          module_(std::move(module)) {}

    std::unique_ptr<AssetWriter> makeWriter(const std::string& path, MovieFileType type,
                                            Error& error) override {
        const auto platform = loaded(error);
        return platform ? platform->makeWriter(path, type, error) : nullptr;
    }
    std::shared_ptr<AssetWriterInput> makeVideoInput(const std::optional<VideoSettings>& settings) override {
        Error unreported;
        return loaded(unreported)->makeVideoInput(settings);
    }
    std::shared_ptr<AssetWriterInput> makeAudioInput(const std::optional<AudioSettings>& settings) override {
        Error unreported;
        return loaded(unreported)->makeAudioInput(settings);
    }

private:
    std::shared_ptr<AssetWriterPlatform> loaded(Error& error) {
        const std::lock_guard lock(mutex_);
        if (!platform_) platform_ = load(module_, diagnostics_, error);
        return platform_;
    }

    Diagnostics& diagnostics_;
    const fs::path module_;
    std::mutex mutex_; // guards the platform
    std::shared_ptr<AssetWriterPlatform> platform_;
};

} // namespace

fs::path movieModule() {
    return moduleFile(movieModuleFile);
}

std::shared_ptr<AssetWriterPlatform> makeLateAssetWriterPlatform(Diagnostics& diagnostics,
                                                                 const fs::path& module) {
    return std::make_shared<LateAssetWriterPlatform>(diagnostics, module);
}

} // namespace tavelo
