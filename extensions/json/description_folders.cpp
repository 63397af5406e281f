// SPDX-License-Identifier: MIT
#include "extensions/json/description_folders.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <system_error>
#include <utility>

#include "platform/linux/printable.h"
#include "platform/linux/whole_file.h"

namespace tavelo {
namespace {

namespace fs = std::filesystem;

using Warn = std::function<void(const std::string& line)>;

constexpr std::size_t mostFiles = 256;

std::string lineFor(const fs::path& file, const std::string& reason) {
    return printable(file.string() + ": " + reason);
}

// By file name, so that a later folder replaces what an earlier one has.
void addFiles(const fs::path& folder, std::map<std::string, fs::path>& files, const Warn& warn) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        const fs::path& path = entry->path();
        if (path.extension() != ".json" || path.filename().string().starts_with('.')) continue;
        if (files.size() >= mostFiles && !files.contains(path.filename()))
            return warn(lineFor(folder, "more than " + std::to_string(mostFiles) + " descriptions"));
        files[path.filename()] = path;
    }
    if (error && error != std::errc::no_such_file_or_directory) warn(lineFor(folder, error.message()));
}

std::optional<std::string> bytesOf(const fs::path& file, std::string& reason) {
    Error error;
    auto content = readWholeFile(file.string(), longestDescription, error);
    if (content && content->exists) return std::move(content->bytes);
    reason = content ? "it is gone, or a link to nothing" : error.text;
    return std::nullopt;
}

bool isTaken(const std::vector<ExtensionControl>& controls, const ExtensionControl& control) {
    return std::ranges::any_of(controls, [&](const ExtensionControl& other) {
        return other.unit == control.unit && other.name == control.name;
    });
}

} // namespace

std::vector<ExtensionControl> readDescriptions(std::span<const fs::path> folders,
                                               const IsReservedName& isReserved, const Warn& warn) {
    std::map<std::string, fs::path> files;
    for (const fs::path& folder : folders)
        addFiles(folder, files, warn);
    std::vector<ExtensionControl> all;
    for (const auto& [name, path] : files) {
        std::string reason;
        const auto text = bytesOf(path, reason);
        auto controls = text ? readDescription(*text, isReserved, reason) : std::nullopt;
        const auto taken = [&](const ExtensionControl& control) { return isTaken(all, control); };
        if (controls && std::ranges::any_of(*controls, taken)) {
            reason = "another file describes \"" + std::ranges::find_if(*controls, taken)->name +
                     "\" of the same unit";
            controls.reset();
        }
        if (controls)
            std::ranges::move(*controls, std::back_inserter(all));
        else
            warn(lineFor(path, reason));
    }
    return all;
}

} // namespace tavelo
