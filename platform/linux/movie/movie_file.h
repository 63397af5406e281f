// SPDX-License-Identifier: MIT
// The file of a movie that is being recorded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/error.h"
#include "platform/linux/file_descriptor.h"
#include "platform/linux/movie/ffmpeg_handles.h"

namespace tavelo {

/// A new file that only grows, as FFmpeg's muxers write it.  Thread-bound to one thread at a time.
class MovieFile {
public:
    /// Makes the file, where none may be yet.  Null with the reason.
    static std::unique_ptr<MovieFile> create(const std::string& path, Error& error);

    MovieFile(const MovieFile&) = delete;
    MovieFile& operator=(const MovieFile&) = delete;

    const std::string& path() const { return path_; }
    /// For a muxer; belongs to the file.
    AVIOContext* io() const { return io_.get(); }

    /// What was written since the last call belongs together.  The first piece, without which nothing plays,
    /// reaches the file as a whole: a program killed before it leaves an empty file.  After a failure of the
    /// file system all that does not is cut off, so that no player stumbles over half a fragment.
    /// @return false where the file system has failed
    bool endPiece();

    /// An errno; 0 while the file system has not failed.
    int failure() const { return failure_; }

    /// Whether the path still leads to this file.
    bool isInPlace() const;
    /// Deletes it, where the path still leads to it.
    /// @return false if it is there and cannot be deleted
    bool remove();
    /// Waits until what was written is on the disk.
    /// @return an errno; 0 if it is
    int sync();
    int descriptor() const { return descriptor_.get(); }

private:
    MovieFile(std::string path, FileDescriptor descriptor);
    int write(const std::uint8_t* bytes, int size);
    int writeOut(const std::uint8_t* bytes, std::size_t size);
    int writeOutFirstPiece();

    std::string path_;
    FileDescriptor descriptor_;
    std::int64_t written_ = 0;
    std::int64_t whole_ = 0; // up to the end of the last piece
    int failure_ = 0;
    std::vector<std::uint8_t> firstPiece_; // waits for its end
    bool firstPieceIsOut_ = false;
    AvCustomIo io_;
};

} // namespace tavelo
