// SPDX-License-Identifier: MIT
#include "platform/linux/movie/file_beside.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace tavelo {
namespace {

constexpr std::string_view hiddenPrefix = ".tavelo-movie-";
constexpr mode_t ownersOnly = 0600;
constexpr mode_t permissionBits = 07777;
constexpr int mostNames = 100;

std::filesystem::path folderOf(const std::filesystem::path& target) {
    return target.has_parent_path() ? target.parent_path() : std::filesystem::path(".");
}

std::filesystem::path hiddenNameIn(const std::filesystem::path& folder) {
    return folder / (std::string(hiddenPrefix) + std::to_string(std::random_device()()));
}

// Every process that writes such a file holds the lock; on a file system without locks nothing is removed.
bool lock(int descriptor, int extra = 0) {
    int result = 0;
    do
        result = ::flock(descriptor, LOCK_EX | extra);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

bool isAt(int descriptor, const std::filesystem::path& path) {
    struct stat here {};
    struct stat there {};
    return ::fstat(descriptor, &here) == 0 && ::lstat(path.c_str(), &there) == 0 &&
           here.st_dev == there.st_dev && here.st_ino == there.st_ino;
}

bool removeIfLeftOver(const std::filesystem::path& path) {
    const FileDescriptor file(::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat facts {};
    if (!file.isOpen() || ::fstat(file.get(), &facts) != 0) return false;
    const bool ours = S_ISREG(facts.st_mode) && facts.st_uid == ::geteuid() && facts.st_nlink == 1;
    return ours && lock(file.get(), LOCK_NB) && isAt(file.get(), path) && ::unlink(path.c_str()) == 0;
}

} // namespace

FileBeside::FileBeside(const std::filesystem::path& target, Kind kind)
    : target_(target),
      folder_(folderOf(target)) {
    if (kind == Kind::unnamed) {
        descriptor_ = FileDescriptor(::open(folder_.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, ownersOnly));
        // It is safe without the lock too: nobody removes what cannot be locked.
        if (descriptor_.isOpen()) lock(descriptor_.get());
    }
    if (!descriptor_.isOpen() && !openHidden()) failure_ = errno;
}

FileBeside::~FileBeside() {
    if (!name_.empty()) ::unlink(name_.c_str()); // if it stays, the next recording removes it
}

bool FileBeside::openHidden() {
    for (int i = 0; i < mostNames; ++i) {
        const auto name = hiddenNameIn(folder_);
        FileDescriptor file(::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, ownersOnly));
        if (!file.isOpen() && errno == EEXIST) continue;
        if (!file.isOpen()) return false;
        lock(file.get());
        // Between open() and flock() another process may have removed it as a leftover.
        if (!isAt(file.get(), name)) continue;
        descriptor_ = std::move(file);
        name_ = name;
        return true;
    }
    errno = EEXIST;
    return false;
}

int FileBeside::giveName() {
    const std::string self = "/proc/self/fd/" + std::to_string(descriptor());
    for (int i = 0; i < mostNames; ++i) {
        auto name = hiddenNameIn(folder_);
        if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            name_ = std::move(name);
            return 0;
        }
        if (errno != EEXIST) return errno;
    }
    return EEXIST;
}

int FileBeside::takePlace(int like) {
    struct stat before {};
    if (::fstat(like, &before) != 0 || ::fchmod(descriptor(), before.st_mode & permissionBits) != 0 ||
        ::fsync(descriptor()) != 0)
        return errno;
    if (name_.empty()) {
        // linkat() cannot replace an existing name, so this takes two steps.
        if (const int failed = giveName(); failed != 0) return failed;
    }
    if (::rename(name_.c_str(), target_.c_str()) != 0) return errno;
    name_.clear();
    return 0;
}

bool FileBeside::removeLeftovers(const std::filesystem::path& target) {
    bool any = false;
    std::error_code error;
    std::filesystem::directory_iterator entry(folderOf(target), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (name.starts_with(hiddenPrefix)) any = removeIfLeftOver(entry->path()) || any;
    }
    return any;
}

} // namespace tavelo
