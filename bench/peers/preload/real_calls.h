// SPDX-License-Identifier: MIT
// The C library's own functions, behind ours of the same names.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>

namespace tavelo::bench {

struct RealCalls {
    int (*open)(const char*, int, ...);
    int (*openat)(int, const char*, int, ...);
    int (*close)(int);
    int (*dup)(int);
    int (*dup2)(int, int);
    int (*dup3)(int, int, int);
    int (*fcntl)(int, int, ...);
    int (*ioctl)(int, unsigned long, ...);
    ssize_t (*read)(int, void*, std::size_t);
    void* (*mmap)(void*, std::size_t, int, int, int, off_t);
    int (*fstat)(int, struct stat*);
    long (*syscall)(long, ...);
};

const RealCalls& realCalls();

} // namespace tavelo::bench
