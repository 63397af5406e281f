// SPDX-License-Identifier: MIT
#include "platform/linux/movie/module/late_asset_writer_platform.h"

#include <dlfcn.h>

#include <mutex>
#include <system_error>
#include <utility>

#include "platform/linux/movie/module/movie_module.h"

namespace tavelo {
namespace {

namespace fs = std::filesystem;

struct CloseModule {
    void operator()(void* module) const { ::dlclose(module); }
};

/// Null with `error` set if the module cannot be loaded.
std::shared_ptr<AssetWriterPlatform> load(const fs::path& module, Diagnostics& diagnostics, Error& error) {
    // It stays loaded when its handle is closed: writers, whose code is in it, may outlive their platform.
    const std::unique_ptr<void, CloseModule> handle(
        ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE));
    void* function = handle ? ::dlsym(handle.get(), movieModuleFunction) : nullptr;
    std::shared_ptr<AssetWriterPlatform> made;
    if (function != nullptr) {
        reinterpret_cast<MovieModuleFunction*>(function)(TAVELO_VERSION, diagnostics, made);
        if (!made)
            error = {ErrorCode::failed,
                     "no movies: " + module.string() + " is of another version; start the program again"};
    } else {
        const char* reason = ::dlerror();
        error = {ErrorCode::failed, std::string("no movies: ") + (reason != nullptr ? reason : "")};
    }
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
    std::error_code error;
    const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    for (const fs::path& place : {fs::path(), fs::path("..") / TAVELO_MODULES, fs::path("../bin")}) {
        fs::path module = folder / place / movieModuleFile;
        if (!error && fs::exists(module, error)) return module;
    }
    return movieModuleFile;
}

std::shared_ptr<AssetWriterPlatform> makeLateAssetWriterPlatform(Diagnostics& diagnostics,
                                                                 const fs::path& module) {
    return std::make_shared<LateAssetWriterPlatform>(diagnostics, module);
}

} // namespace tavelo
