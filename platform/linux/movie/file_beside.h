// SPDX-License-Identifier: MIT
// A file that is to take the place of another.
#pragma once

#include <filesystem>

#include "platform/linux/file_descriptor.h"

namespace tavelo {

/// Written in the same folder as the other, and gone with its owner unless it takes the other's place.
///
/// It has no name if the file system knows such files, so a killed program leaves nothing behind.
/// Elsewhere, and for the moment in which it moves, it has a hidden name of ours and a lock that dies with
/// the process; that is how removeLeftovers() knows what nobody will ever finish.
class FileBeside {
public:
    enum class Kind : std::uint8_t {
        unnamed, ///< if that can be had, else hidden
        hidden
    };

    explicit FileBeside(const std::filesystem::path& target, Kind kind = Kind::unnamed);
    ~FileBeside();

    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;

    /// An errno; 0 if the file was made.
    int failure() const { return failure_; }
    int descriptor() const { return descriptor_.get(); }

    /// Writes it to the disk and moves it over the target, whose rights it gets.
    /// @param like the target, open
    /// @return an errno, the target being left as it was; 0 if it succeeded
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
