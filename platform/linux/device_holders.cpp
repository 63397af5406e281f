// SPDX-License-Identifier: MIT
#include "platform/linux/device_holders.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <optional>
#include <system_error>

#include "platform/linux/printable.h"

namespace tavelo {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t longestName = 64;
constexpr std::size_t mostNamed = 4;
// The kernel truncates program names to this length.
constexpr std::size_t kernelsNameLength = 15;

std::optional<std::int64_t> processNumber(const fs::path& folder) {
    const std::string name = folder.filename().string();
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error != std::errc() || end != name.data() + name.size()) return std::nullopt;
    return number;
}

bool isSameFile(const struct stat& a, const struct stat& b) {
    if (S_ISCHR(a.st_mode) && S_ISCHR(b.st_mode)) return a.st_rdev == b.st_rdev;
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Reads the link before examining the file: stat() on a dead network drive would block.
bool leadsTo(const fs::path& link, const fs::path& node, const struct stat& wanted) {
    std::error_code error;
    if (fs::read_symlink(link, error).filename() != node.filename()) return false;
    struct stat found {};
    return ::stat(link.c_str(), &found) == 0 && isSameFile(found, wanted);
}

enum class Look { holds, holdsNot, hidden };

Look lookInto(const fs::path& process, const fs::path& node, const struct stat& wanted) {
    std::error_code error;
    fs::directory_iterator at(process / "fd", error);
    if (error == std::errc::permission_denied) return Look::hidden;
    for (const fs::directory_iterator end; !error && at != end; at.increment(error))
        if (leadsTo(at->path(), node, wanted)) return Look::holds;
    return Look::holdsNot;
}

// If the kernel truncated the name, the program's file has all of it.
std::string programOf(const fs::path& process) {
    std::string name;
    std::ifstream stream(process / "comm");
    std::getline(stream, name);
    std::error_code error;
    const std::string file = fs::read_symlink(process / "exe", error).filename().string();
    if (name.size() == kernelsNameLength && file.starts_with(name)) name = file;
    if (name.empty()) name = file;
    return name.empty() ? "a program without a name" : printableAscii(name.substr(0, longestName));
}

} // namespace

DeviceHolders deviceHolders(const fs::path& node, const fs::path& processes) {
    DeviceHolders holders;
    struct stat wanted {};
    if (::stat(node.c_str(), &wanted) != 0) return holders;
    std::error_code error;
    for (fs::directory_iterator at(processes, error), end; !error && at != end; at.increment(error)) {
        const auto number = processNumber(at->path());
        if (!number || *number == ::getpid()) continue;
        const Look look = lookInto(at->path(), node, wanted);
        if (look == Look::holds) holders.seen.push_back({*number, programOf(at->path())});
        holders.someHidden = holders.someHidden || look == Look::hidden;
    }
    std::ranges::sort(holders.seen, {}, &DeviceHolder::process);
    return holders;
}

std::string busyText(const DeviceHolders& holders) {
    if (holders.seen.empty())
        return holders.someHidden ? "busy: in use by another program, which we may not look into"
                                  : "busy: in use by another program";
    std::string text = "busy: in use by ";
    const std::size_t named = std::min(holders.seen.size(), mostNamed);
    for (std::size_t i = 0; i < named; ++i) {
        if (i > 0) text += i + 1 == holders.seen.size() ? " or " : ", ";
        text += holders.seen[i].program + ", process " + std::to_string(holders.seen[i].process);
    }
    if (named < holders.seen.size()) text += " or " + std::to_string(holders.seen.size() - named) + " more";
    return text;
}

} // namespace tavelo
