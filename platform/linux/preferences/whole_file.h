// SPDX-License-Identifier: MIT
// Files that are read and replaced as a whole.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/error.h"
#include "platform/linux/file_descriptor.h"

namespace tavelo {

/// Tells one version of a file from the next; each replacement is a file of its own.
struct FileVersion {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t changedAt = 0; // nanoseconds
    std::int64_t size = 0;

    friend bool operator==(const FileVersion&, const FileVersion&) = default;
};

/// Nothing if there is no file, or none that can be looked at.  Reentrant.
std::optional<FileVersion> versionOfFile(const std::string& path);

/// The file that a path leads to once its links are followed.  Neither that file nor its folder need exist.
/// Nothing if the links go round in circles.  Reentrant.
std::optional<std::string> followLinks(std::string path, Error& error);

struct FileContent {
    bool exists = false; ///< no file is no failure
    FileVersion version; ///< of the file that the bytes were read from
    std::string bytes;
};

/// Reads a regular file of at most `mostBytes`.  Nothing if it cannot be read.  Reentrant.
std::optional<FileContent> readWholeFile(const std::string& path, std::size_t mostBytes, Error& error);

/// Replaces a file's content in one step, or makes the file.  Its permissions stay.
///
/// True once the new content is on the disk.  After a failure the old content is still in place, and nothing
/// else is left behind.  A program killed here leaves the old or the new content, and may leave a file with
/// the name of unfinishedName(), which the next call removes.  So only one program at a time may replace a
/// file: see FileLock.
/// @param path not a link; its folder exists
bool replaceWholeFile(const std::string& path, std::string_view content, Error& error);

/// The name, in the same folder, that a new content has for a moment before it takes the file's place.
std::string unfinishedName(std::string_view fileName);

/// Gives a file another name.  False if the name is taken (`ErrorCode::busy`) or the file cannot be renamed.
bool renameToFreeName(const std::string& path, const std::string& freePath, Error& error);

/// One program at a time, for as long as this lives.  The kernel takes the lock from a program that dies; the
/// lock's own file stays.
class FileLock {
public:
    /// Waits for other programs as long as `patience`.
    FileLock(const std::string& path, std::chrono::milliseconds patience, Error& error);

    bool isHeld() const { return file_.isOpen(); }

private:
    FileDescriptor file_; // its end gives the lock back; nothing was written here that could be lost
};

} // namespace tavelo
