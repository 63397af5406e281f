// SPDX-License-Identifier: MIT
// One opening of the watched node inside a program.
#pragma once

#include <sys/types.h>

#include <cstddef>

namespace tavelo::bench {

/// Each function behaves like the system call: -1 and errno, or MAP_FAILED, if it fails.  Thread-safe.
class DeviceFile {
public:
    virtual ~DeviceFile() = default;

    /// @param file the descriptor that the program used; duplicates share one DeviceFile
    virtual int control(int file, unsigned long request, void* argument) = 0;
    virtual void* map(void* where, std::size_t length, int protection, int flags, int file, off_t offset) = 0;
    virtual ssize_t read(int file, void* buffer, std::size_t length) = 0;
};

} // namespace tavelo::bench
