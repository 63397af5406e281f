// SPDX-License-Identifier: MIT
// Reads and replaces files as a whole.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/common/file_descriptor.h"
#include "platform/error.h"

namespace tavelo {

inline constexpr mode_t newFileMode = 0666; ///< minus the user's umask

/// Tells versions of a file apart; each replacement is a new file.
struct FileVersion {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t changedAt = 0; // nanoseconds
    std::int64_t size = 0;

    friend bool operator==(const FileVersion&, const FileVersion&) = default;
};

/// Nothing if there is no file or it cannot be examined.  Reentrant.
std::optional<FileVersion> versionOfFile(const std::string& path);

/// The file that a path leads to after following links.  Neither that file nor its folder needs to exist.
/// Nothing if the links form a loop.  Reentrant.
std::optional<std::string> followLinks(std::string path, Error& error);

struct FileContent {
    bool exists = false; ///< a missing file is no failure
    FileVersion version; ///< of the file that the bytes were read from
    std::string bytes;
};

/// Reads a regular file of at most `mostBytes`.  Nothing if it cannot be read.  Reentrant.
std::optional<FileContent> readWholeFile(const std::string& path, std::size_t mostBytes, Error& error);

/// Replaces a file's content in one step, or creates the file.  Its permissions are kept.
///
/// True once the new content is on the disk.  After a failure the old content is still in place, and
/// nothing else is left behind.  A program killed here leaves the old or the new content, and may leave a
/// file named unfinishedName(), which the next call removes.  So only one program at a time may replace a
/// file: see FileLock.
/// @param path not a link; its folder exists
bool replaceWholeFile(const std::string& path, std::string_view content, Error& error);

/// The temporary name, in the same folder, of new content before it takes the file's place.
std::string unfinishedName(std::string_view fileName);

/// Renames a file.  False if the name is taken (`ErrorCode::busy`) or the file cannot be renamed.
bool renameToFreeName(const std::string& path, const std::string& freePath, Error& error);

/// Keeps other programs out while it lives.  The kernel releases the lock of a program that dies; the lock
/// file itself stays.
class FileLock {
public:
    /// Waits up to `patience` for other programs.
    FileLock(const std::string& path, std::chrono::milliseconds patience, Error& error);

    bool isHeld() const { return file_.isOpen(); }

private:
    FileDescriptor file_; // closing it releases the lock; it holds no written data that could be lost
};

} // namespace tavelo
