// SPDX-License-Identifier: MIT
#include "platform/linux/v4l2/video_nodes.h"

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <optional>
#include <system_error>
#include <utility>

#include "platform/linux/bus/sysfs_usb.h"
#include "platform/linux/printable.h"
#include "platform/linux/v4l2/v4l2_formats.h"

namespace tavelo {

namespace fs = std::filesystem;

namespace {

std::optional<unsigned> nodeNumber(const std::string& name) {
    constexpr std::string_view prefix = "video";
    if (!name.starts_with(prefix)) return std::nullopt;
    unsigned number = 0;
    const char* const end = name.data() + name.size();
    const auto [stopped, error] = std::from_chars(name.data() + prefix.size(), end, number);
    if (error != std::errc() || stopped != end) return std::nullopt;
    return number;
}

std::vector<std::string> nodeNames(const fs::path& folder) {
    std::vector<std::pair<unsigned, std::string>> numbered;
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        std::string name = at->path().filename().string();
        if (const auto number = nodeNumber(name)) numbered.emplace_back(*number, std::move(name));
    }
    std::ranges::sort(numbered);
    std::vector<std::string> names;
    names.reserve(numbered.size());
    for (auto& [number, name] : numbered)
        names.push_back(std::move(name));
    return names;
}

// sysfs gives each folder it creates a new inode number, so a camera that was unplugged and plugged in
// again under the same name differs from one that stayed.
std::optional<std::uint64_t> instanceOf(const fs::path& node) {
    struct stat status {};
    if (::stat(node.c_str(), &status) != 0) return std::nullopt;
    return status.st_ino;
}

std::string firstLine(const fs::path& file) {
    std::string line;
    std::ifstream stream(file);
    std::getline(stream, line);
    return line;
}

std::string localizedName(const std::optional<UsbIdentity>& identity, const std::string& driversName,
                          const std::string& node) {
    // The driver's name is the product string cut to 31 characters, but it distinguishes the functions of one
    // product apart.
    if (identity && identity->isFirstVideoFunction && !identity->productName.empty())
        return printable(identity->productName);
    return driversName.empty() ? node : printable(driversName);
}

} // namespace

bool isListed(const fs::path& sysfs, const VideoNode& node) {
    return instanceOf(sysfs / "class/video4linux" / node.name) == node.instance;
}

VideoNodeScanner::VideoNodeScanner(fs::path sysfs, std::shared_ptr<V4l2NodeOpener> opener)
    : sysfs_(std::move(sysfs)),
      opener_(std::move(opener)) {}

std::vector<VideoNode> VideoNodeScanner::scan() {
    std::vector<Seen> now;
    std::vector<VideoNode> cameras;
    for (const std::string& name : nodeNames(sysfs_ / "class/video4linux")) {
        const auto instance = instanceOf(sysfs_ / "class/video4linux" / name);
        if (!instance) continue;
        const auto known = std::ranges::find_if(seen_, [&](const Seen& seen) {
            return seen.node.name == name && seen.node.instance == *instance;
        });
        now.push_back(known != seen_.end() ? *known : look(name, *instance));
        const Seen& seen = now.back();
        const bool taken = std::ranges::any_of(
            cameras, [&](const VideoNode& camera) { return camera.uniqueID == seen.node.uniqueID; });
        if (seen.captures && !taken) cameras.push_back(seen.node);
    }
    seen_ = std::move(now);
    return cameras;
}

VideoNodeScanner::Seen VideoNodeScanner::look(const std::string& name, std::uint64_t instance) const {
    Seen seen{{name, instance, {}, {}, {}}, captures(name)};
    if (!seen.captures) return seen;
    const fs::path folder = sysfs_ / "class/video4linux" / name;
    const auto identity = usbIdentityOfVideoNode(sysfs_, name);
    if (identity) {
        seen.node.uniqueID = identity->captureIdentifier();
        seen.node.place = identity->deviceName;
    } else {
        // The node's place in the device tree, which is the same after every boot.
        std::error_code error;
        const fs::path place = fs::canonical(folder, error).lexically_relative(sysfs_);
        seen.node.uniqueID = "node:" + (error ? name : place.string());
    }
    seen.node.localizedName = localizedName(identity, firstLine(folder / "name"), name);
    return seen;
}

bool VideoNodeScanner::captures(const std::string& name) const {
    int error = 0;
    const auto node = opener_->open("/dev/" + name, error);
    std::uint32_t capabilities = 0;
    if (node && queryCapabilities(*node, capabilities) == 0) return canCapture(capabilities);
    // No rights (yet): a driver creates the capturing node before the one for metadata.
    return firstLine(sysfs_ / "class/video4linux" / name / "index") == "0";
}

} // namespace tavelo
