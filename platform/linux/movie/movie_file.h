// SPDX-License-Identifier: MIT
// The file of a movie while it is recorded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/common/file_descriptor.h"
#include "platform/error.h"
#include "platform/linux/movie/ffmpeg_handles.h"

namespace tavelo {

/// A new file that FFmpeg's muxers append to.  Thread-bound to one thread at a time.
class MovieFile {
public:
    /// Creates the file, which must not exist yet.  Null with the reason.
    static std::unique_ptr<MovieFile> create(const std::string& path, Error& error);

    MovieFile(const MovieFile&) = delete;
    MovieFile& operator=(const MovieFile&) = delete;

    const std::string& path() const { return path_; }
    /// For a muxer; belongs to the file.
    AVIOContext* io() const { return io_.get(); }

    /// Ends a piece: everything written since the last call.  The first piece, without which nothing plays,
    /// reaches the file as a whole: a program killed earlier leaves an empty file.  After a failure of the
    /// file system an incomplete piece is cut off, so that players do not fail on half a fragment.
    /// @return false if the file system has failed
    bool endPiece();

    /// An errno; 0 while the file system has not failed.
    int failure() const { return failure_; }

    /// Whether the path still refers to this file.
    bool isInPlace() const;
    /// Deletes the file if the path still refers to it.
    /// @return false if it exists and cannot be deleted
    bool remove();
    /// Waits until everything written is on the disk.
    /// @return 0 or an errno
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
    std::int64_t whole_ = 0; // the end of the last piece
    int failure_ = 0;
    std::vector<std::uint8_t> firstPiece_; // buffered until it is complete
    bool firstPieceIsOut_ = false;
    AvCustomIo io_;
};

} // namespace tavelo
