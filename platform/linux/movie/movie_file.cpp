// SPDX-License-Identifier: MIT
#include "platform/linux/movie/movie_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <utility>

#include "platform/linux/movie/ffmpeg_error.h"

namespace tavelo {
namespace {

constexpr int bufferSize = 1 << 18;                // most fragments are written in one piece
constexpr std::size_t longestFirstPiece = 1 << 16; // headers have a kilobyte or two
constexpr mode_t newFileMode = 0666;

} // namespace

std::unique_ptr<MovieFile> MovieFile::create(const std::string& path, Error& error) {
    FileDescriptor descriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, newFileMode));
    if (!descriptor.isOpen()) {
        error = fileError(errno, "the movie file cannot be made");
        return nullptr;
    }
    return std::unique_ptr<MovieFile>(new MovieFile(path, std::move(descriptor)));
}

MovieFile::MovieFile(std::string path, FileDescriptor descriptor)
    : path_(std::move(path)),
      descriptor_(std::move(descriptor)) {
    firstPiece_.reserve(longestFirstPiece);
    // The muxer's bytes are const or not, depending on the library's version.
    const auto writePacket = [](void* self, auto* bytes, int size) {
        return static_cast<MovieFile*>(self)->write(bytes, size);
    };
    auto* buffer = static_cast<unsigned char*>(av_malloc(bufferSize));
    if (buffer == nullptr) throw std::bad_alloc();
    io_.reset(avio_alloc_context(buffer, bufferSize, 1, this, nullptr, writePacket, nullptr));
    if (!io_) {
        av_free(buffer);
        throw std::bad_alloc();
    }
}

int MovieFile::write(const std::uint8_t* bytes, int size) {
    if (failure_ != 0) return AVERROR(failure_);
    const auto length = std::size_t(size);
    if (!firstPieceIsOut_ && firstPiece_.size() + length <= firstPiece_.capacity()) {
        // within the capacity, so it cannot throw
        firstPiece_.insert(firstPiece_.end(), bytes, bytes + length);
        return size;
    }
    if (const int failed = writeOutFirstPiece(); failed < 0) return failed;
    const int failed = writeOut(bytes, length);
    return failed < 0 ? failed : size;
}

int MovieFile::writeOutFirstPiece() {
    if (std::exchange(firstPieceIsOut_, true)) return 0;
    return writeOut(firstPiece_.data(), firstPiece_.size());
}

int MovieFile::writeOut(const std::uint8_t* bytes, std::size_t size) {
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = ::write(descriptor_.get(), bytes + done, size - done);
        if (count < 0) {
            if (errno == EINTR) continue;
            failure_ = errno;
            return AVERROR(failure_);
        }
        done += std::size_t(count);
        written_ += count;
    }
    return 0;
}

bool MovieFile::endPiece() {
    avio_flush(io_.get());
    if (failure_ == 0) writeOutFirstPiece();
    if (failure_ == 0) {
        whole_ = written_;
        return true;
    }
    // Truncating frees space, so it works on a full disk too; if it fails, players skip the rest.
    if (written_ > whole_ && ::ftruncate(descriptor_.get(), whole_) == 0) written_ = whole_;
    return false;
}

bool MovieFile::isInPlace() const {
    struct stat here {};
    struct stat there {};
    return ::fstat(descriptor_.get(), &here) == 0 && ::lstat(path_.c_str(), &there) == 0 &&
           here.st_dev == there.st_dev && here.st_ino == there.st_ino;
}

bool MovieFile::remove() {
    return !isInPlace() || ::unlink(path_.c_str()) == 0;
}

int MovieFile::sync() {
    return ::fsync(descriptor_.get()) == 0 ? 0 : errno;
}

} // namespace tavelo
