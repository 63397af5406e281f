// SPDX-License-Identifier: MIT
// An open file's descriptor with an owner.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/error.h"

namespace tavelo {

/// What errno says of a file, as an error.
Error fileError(int errorNumber);

/// Repeats a system call that a signal interrupted.
template <typename Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

/// Owns a file descriptor, or none.
class FileHandle {
public:
    FileHandle() = default;
    explicit FileHandle(int descriptor) : descriptor_(descriptor) {}
    ~FileHandle() { close(); }

    FileHandle(FileHandle&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileHandle& operator=(FileHandle&& other) noexcept {
        close();
        descriptor_ = std::exchange(other.descriptor_, -1);
        return *this;
    }

    bool isOpen() const { return descriptor_ >= 0; }
    int get() const { return descriptor_; }
    int release() { return std::exchange(descriptor_, -1); }

    /// False, with errno set, if closing reports that data was lost.  The descriptor is gone either way.
    bool close() { return descriptor_ < 0 || ::close(std::exchange(descriptor_, -1)) == 0 || errno == EINTR; }

private:
    int descriptor_ = -1;
};

} // namespace tavelo
