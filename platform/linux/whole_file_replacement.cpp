// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>

#include "platform/common/file_descriptor.h"
#include "platform/linux/file_error.h"
#include "platform/linux/whole_file.h"

namespace tavelo {
namespace {

constexpr mode_t permissionBits = 07777;

/// Links to open files; through them a file without a name gets one.
constexpr const char* openFiles = "/proc/self/fd";

/// One replacement.  The steps run in order; each returns false, with error() set, if it fails.
class Replacement {
public:
    explicit Replacement(const std::filesystem::path& path)
        : name_(path.filename().string()),
          newName_(unfinishedName(name_)),
          folder_(uninterrupted([&] {
              const auto parent = path.parent_path();
              return ::open(parent.empty() ? "." : parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
          })) {
        if (!folder_.isOpen()) error_ = fileError(errno);
    }
    ~Replacement() {
        if (hasNewName_) removeNewName();
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    bool run(std::string_view content) {
        return folder_.isOpen() && make() && keepPermissions() && write(content) && flush() && giveName() &&
               close() && putInPlace() && flushFolder();
    }

    const Error& error() const { return error_; }

private:
    bool failed(int errorNumber = errno) {
        error_ = fileError(errorNumber);
        return false;
    }

    void removeNewName() {
        // If this fails, the file stays until the next replacement; it does no harm.
        static_cast<void>(::unlinkat(folder_.get(), newName_.c_str(), 0));
        hasNewName_ = false;
    }

    // Without a name, so that a killed program leaves nothing behind.
    bool make() {
        if (::access(openFiles, X_OK) == 0) {
            file_ = FileDescriptor(uninterrupted(
                [&] { return ::openat(folder_.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, newFileMode); }));
            if (file_.isOpen()) return true;
            // These mean that the file system does not support it.
            if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) return failed();
        }
        return makeNamed();
    }

    bool makeNamed() {
        const auto open = [&] {
            return uninterrupted([&] {
                return ::openat(folder_.get(), newName_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC,
                                newFileMode);
            });
        };
        file_ = FileDescriptor(open());
        if (!file_.isOpen() && errno == EEXIST) {
            removeNewName(); // left by a program that was killed
            file_ = FileDescriptor(open());
        }
        if (!file_.isOpen()) return failed();
        hasNewName_ = true;
        return true;
    }

    bool keepPermissions() {
        struct stat old {};
        if (::fstatat(folder_.get(), name_.c_str(), &old, 0) != 0) return errno == ENOENT || failed();
        struct stat fresh {};
        if (::fstat(file_.get(), &fresh) != 0) return failed();
        const mode_t permissions = old.st_mode & permissionBits;
        if (permissions == (fresh.st_mode & permissionBits))
            return true; // some file systems have only one mode
        return ::fchmod(file_.get(), permissions) == 0 || failed();
    }

    bool write(std::string_view content) {
        while (!content.empty()) {
            const auto count =
                uninterrupted([&] { return ::write(file_.get(), content.data(), content.size()); });
            if (count <= 0) return failed(count < 0 ? errno : ENOSPC);
            content.remove_prefix(static_cast<std::size_t>(count));
        }
        return true;
    }

    bool flush() {
        return uninterrupted([&] { return ::fsync(file_.get()); }) == 0 || failed();
    }

    bool giveName() {
        if (hasNewName_) return true;
        const std::string open = openFiles + ("/" + std::to_string(file_.get()));
        const auto link = [&] {
            return ::linkat(AT_FDCWD, open.c_str(), folder_.get(), newName_.c_str(), AT_SYMLINK_FOLLOW);
        };
        int result = link();
        if (result != 0 && errno == EEXIST) {
            removeNewName(); // left by a program that was killed
            result = link();
        }
        if (result != 0) return failed();
        hasNewName_ = true;
        return true;
    }

    bool close() { return file_.close() || failed(); }

    // Exchanges old and new, so that the old one can be restored.
    bool putInPlace() {
        if (exchange()) {
            place_ = Place::exchanged;
            return true;
        }
        place_ = errno == ENOENT ? Place::wasEmpty : Place::overwritten;
        // Some file systems cannot exchange, or there is no old file yet.
        if (errno != ENOENT && errno != EINVAL && errno != ENOSYS) return failed();
        if (::renameat(folder_.get(), newName_.c_str(), folder_.get(), name_.c_str()) != 0) return failed();
        hasNewName_ = false;
        return true;
    }

    bool exchange() {
        return ::renameat2(folder_.get(), newName_.c_str(), folder_.get(), name_.c_str(), RENAME_EXCHANGE) ==
               0;
    }

    bool flushFolder() {
        if (uninterrupted([&] { return ::fsync(folder_.get()); }) == 0) return true;
        if (errno == EINVAL || errno == EOPNOTSUPP) return true; // the file system cannot flush folders
        failed();
        bool undone = false;
        switch (place_) {
            case Place::exchanged:
                undone = exchange();
                hasNewName_ = undone; // else it names the old content, which must not be removed
                break;
            case Place::wasEmpty:
                undone = ::unlinkat(folder_.get(), name_.c_str(), 0) == 0;
                break;
            case Place::overwritten:
                break;
        }
        if (!undone) error_.text += "; the new content is in place, but may not survive a power failure";
        return false;
    }

    enum class Place : std::uint8_t { wasEmpty, exchanged, overwritten };

    const std::string name_;
    const std::string newName_;
    const FileDescriptor folder_;
    FileDescriptor file_;
    bool hasNewName_ = false;
    Place place_ = Place::wasEmpty;
    Error error_;
};

} // namespace

std::string unfinishedName(std::string_view fileName) {
    return "." + std::string(fileName) + ".unfinished";
}

bool replaceWholeFile(const std::string& path, std::string_view content, Error& error) {
    Replacement replacement(path);
    if (replacement.run(content)) return true;
    error = replacement.error();
    return false;
}

bool renameToFreeName(const std::string& path, const std::string& freePath, Error& error) {
    if (::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, freePath.c_str(), RENAME_NOREPLACE) == 0) return true;
    int reason = errno;
    if (reason == EINVAL || reason == ENOSYS) { // the file system cannot check and rename in one step
        if (::access(freePath.c_str(), F_OK) == 0)
            reason = EEXIST;
        else if (::rename(path.c_str(), freePath.c_str()) == 0)
            return true;
        else
            reason = errno;
    }
    error = fileError(reason);
    if (reason == EEXIST) error.code = ErrorCode::busy;
    return false;
}

} // namespace tavelo
