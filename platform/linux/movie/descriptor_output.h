// SPDX-License-Identifier: MIT
// An open file for FFmpeg's muxers to write and seek in.
#pragma once

#include <cstdint>

#include "platform/linux/movie/ffmpeg_handles.h"

namespace tavelo {

/// Thread-bound to one thread at a time.
class DescriptorOutput {
public:
    /// @param descriptor must outlive the output; it writes from the start of the file
    explicit DescriptorOutput(int descriptor);

    DescriptorOutput(const DescriptorOutput&) = delete;
    DescriptorOutput& operator=(const DescriptorOutput&) = delete;

    /// For a muxer; belongs to the output.
    AVIOContext* io() const { return io_.get(); }

    /// Hands buffered data to the file system, and now and then writes a larger piece to the disk, so that
    /// the end needs no long wait.
    /// @return an errno; 0 while nothing has failed
    int flush();

    /// An errno; 0 while nothing has failed.
    int failure() const { return failure_; }

private:
    int write(const std::uint8_t* bytes, int size);
    std::int64_t seek(std::int64_t offset, int whence);
    std::int64_t size();

    const int descriptor_;
    std::int64_t position_ = 0;
    std::int64_t unsynced_ = 0;
    int failure_ = 0;
    AvCustomIo io_;
};

} // namespace tavelo
