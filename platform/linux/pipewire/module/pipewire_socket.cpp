// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/module/pipewire_socket.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace tavelo {
namespace {

namespace fs = std::filesystem;

std::string setting(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

} // namespace

bool pipewireMayRun() {
    std::error_code ignored;
    std::string name = setting("PIPEWIRE_REMOTE");
    if (name.empty()) name = "pipewire-0";
    if (name.front() == '/') return fs::exists(name, ignored);
    if (name.front() == '[') return true; // a list of names, which the library reads
    for (const char* const folder : {"PIPEWIRE_RUNTIME_DIR", "XDG_RUNTIME_DIR"}) {
        const std::string path = setting(folder);
        if (!path.empty()) return fs::exists(fs::path(path) / name, ignored);
    }
    return false;
}

} // namespace tavelo
