// SPDX-License-Identifier: MIT
// A file that is going to replace another.
#pragma once

#include <filesystem>

#include "platform/common/file_descriptor.h"

namespace tavelo {

/// Written in the same folder as the other, and deleted with its owner unless it takes the other's place.
///
/// On file systems that support it the file has no name, so a killed program leaves nothing behind.
/// Otherwise, and during the replacement, it has a hidden name of ours and a lock that ends with the
/// process; the lock shows removeLeftovers() which files nobody will finish.
class FileBeside {
public:
    enum class Kind : std::uint8_t {
        unnamed, ///< if the file system supports it, else hidden
        hidden
    };

    explicit FileBeside(const std::filesystem::path& target, Kind kind = Kind::unnamed);
    ~FileBeside();

    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;

    /// An errno; 0 if the file was made.
    int failure() const { return failure_; }
    int descriptor() const { return descriptor_.get(); }

    /// Writes the file to the disk, gives it the target's permissions and moves it over the target.
    /// @param like the target, open
    /// @return 0, or an errno; the target is then left as it was
    int takePlace(int like);

    /// Removes what dead processes of this user left beside a target.
    /// @return whether there was anything
    static bool removeLeftovers(const std::filesystem::path& target);

private:
    bool openHidden();
    int giveName();

    const std::filesystem::path target_;
    const std::filesystem::path folder_;
    std::filesystem::path name_; // empty while it has none
    FileDescriptor descriptor_;
    int failure_ = 0;
};

} // namespace tavelo
