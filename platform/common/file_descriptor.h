// SPDX-License-Identifier: MIT
// A file descriptor that is closed with its owner.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace tavelo {

class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            reset();
            descriptor_ = std::exchange(other.descriptor_, -1);
        }
        return *this;
    }

    int get() const { return descriptor_; }
    bool isOpen() const { return descriptor_ >= 0; }
    void reset() { close(); }
    /// The caller closes it.
    int release() { return std::exchange(descriptor_, -1); }

    /// False, with errno set, if closing reports that data was lost.  The descriptor is gone either way.
    bool close() { return descriptor_ < 0 || ::close(std::exchange(descriptor_, -1)) == 0 || errno == EINTR; }

private:
    int descriptor_ = -1; // -1 for none
};

} // namespace tavelo
