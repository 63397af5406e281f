// SPDX-License-Identifier: MIT
#include "platform/linux/late_module.h"

#include <dlfcn.h>

#include <memory>
#include <system_error>

namespace tavelo {
namespace {

namespace fs = std::filesystem;

struct CloseModule {
    void operator()(void* module) const { ::dlclose(module); }
};

} // namespace

fs::path moduleFile(const std::string& name) {
    std::error_code error;
    const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    for (const fs::path& place : {fs::path(), fs::path("..") / TAVELO_MODULES, fs::path("../bin")}) {
        fs::path module = folder / place / name;
        if (!error && fs::exists(module, error)) return module;
    }
    return name;
}

void* loadModule(const fs::path& module, const char* function, std::string& reason) {
    // RTLD_NODELETE keeps it loaded when the handle is closed.
    const std::unique_ptr<void, CloseModule> handle(
        ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE));
    void* const found = handle ? ::dlsym(handle.get(), function) : nullptr;
    if (found == nullptr) {
        const char* const why = ::dlerror();
        reason = why != nullptr ? why : "";
    }
    return found;
}

std::string otherVersionText(const fs::path& module) {
    return module.string() + " is of another version; start the program again";
}

} // namespace tavelo
