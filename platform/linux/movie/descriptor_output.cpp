// SPDX-License-Identifier: MIT
#include "platform/linux/movie/descriptor_output.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <new>

namespace tavelo {
namespace {

constexpr int bufferSize = 1 << 18;
constexpr std::int64_t syncedAtOnce = 1 << 24;

} // namespace

DescriptorOutput::DescriptorOutput(int descriptor) : descriptor_(descriptor) {
    // The muxer's bytes are const or not, depending on the library's version.
    const auto writePacket = [](void* self, auto* bytes, int size) {
        return static_cast<DescriptorOutput*>(self)->write(bytes, size);
    };
    const auto seekTo = [](void* self, std::int64_t offset, int whence) {
        return static_cast<DescriptorOutput*>(self)->seek(offset, whence);
    };
    auto* buffer = static_cast<unsigned char*>(av_malloc(bufferSize));
    if (buffer == nullptr) throw std::bad_alloc();
    io_.reset(avio_alloc_context(buffer, bufferSize, 1, this, nullptr, writePacket, seekTo));
    if (!io_) {
        av_free(buffer);
        throw std::bad_alloc();
    }
}

int DescriptorOutput::flush() {
    avio_flush(io_.get());
    if (failure_ == 0 && unsynced_ >= syncedAtOnce) {
        unsynced_ = 0;
        if (::fdatasync(descriptor_) != 0) failure_ = errno;
    }
    return failure_;
}

int DescriptorOutput::write(const std::uint8_t* bytes, int size) {
    for (int done = 0; done < size && failure_ == 0;) {
        const ssize_t count = ::pwrite(descriptor_, bytes + done, std::size_t(size - done), off_t(position_));
        if (count < 0) {
            if (errno != EINTR) failure_ = errno;
            continue;
        }
        done += int(count);
        position_ += count;
        unsynced_ += count;
    }
    return failure_ == 0 ? size : AVERROR(failure_);
}

std::int64_t DescriptorOutput::seek(std::int64_t offset, int whence) {
    switch (whence & ~AVSEEK_FORCE) {
        case SEEK_SET:
            return position_ = offset;
        case SEEK_CUR:
            return position_ += offset;
        case AVSEEK_SIZE:
            return size();
        case SEEK_END: {
            const std::int64_t end = size();
            return end < 0 ? end : position_ = end + offset;
        }
        default:
            return AVERROR(EINVAL);
    }
}

// Muxers go on where they cannot seek, and write at the wrong place; so the failure is kept.
std::int64_t DescriptorOutput::size() {
    struct stat facts {};
    if (::fstat(descriptor_, &facts) == 0) return facts.st_size;
    failure_ = errno;
    return AVERROR(failure_);
}

} // namespace tavelo
