// SPDX-License-Identifier: MIT
// The C library's functions as a program sees them: those that concern the watched node are answered here.
//
// poll, select and epoll are not among them: the descriptor is a socket on which frames arrive
// (camera_link.h). The functions have names of their own in C++, because the C library declares the real ones
// in many ways.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstdarg>
#include <cstddef>

#include "bench/peers/preload/open_files.h"
#include "bench/peers/preload/real_calls.h"

namespace tavelo::bench {
namespace {

OpenFiles& files() {
    return OpenFiles::instance();
}

bool takesMode(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

int openAny(int folder, const char* path, int flags, mode_t mode) {
    return files().isNode(path) ? files().open(flags) : realCalls().openat(folder, path, flags, mode);
}

// Before the call, since the number may be given to another file as soon as it is closed.
int closeAny(int descriptor) {
    files().closed(descriptor);
    return realCalls().close(descriptor);
}

int duplicate(int from, int to) {
    if (to >= 0) files().duplicated(from, to);
    return to;
}

int controlAny(int descriptor, unsigned long request, void* argument) {
    const auto file = files().find(descriptor);
    return file ? file->control(descriptor, request, argument)
                : realCalls().ioctl(descriptor, request, argument);
}

void* mapAny(void* where, std::size_t length, int protection, int flags, int descriptor, off_t offset) {
    const auto file = descriptor < 0 ? nullptr : files().find(descriptor);
    return file ? file->map(where, length, protection, flags, descriptor, offset)
                : realCalls().mmap(where, length, protection, flags, descriptor, offset);
}

// Of a camera's descriptor programs want to hear that it is a character device, as its node is.
int statAny(int descriptor, struct stat* status) {
    return files().find(descriptor) ? ::stat(files().node().c_str(), status)
                                    : realCalls().fstat(descriptor, status);
}

int fcntlAny(int descriptor, int command, void* argument) {
    const int result = realCalls().fcntl(descriptor, command, argument);
    return command == F_DUPFD || command == F_DUPFD_CLOEXEC ? duplicate(descriptor, result) : result;
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {
int peersOpen(const char* path, int flags, ...) __asm__("open");
int peersOpen64(const char* path, int flags, ...) __asm__("open64");
int peersOpenAt(int folder, const char* path, int flags, ...) __asm__("openat");
int peersOpenAt64(int folder, const char* path, int flags, ...) __asm__("openat64");
int peersOpen2(const char* path, int flags) __asm__("__open_2");
int peersOpen642(const char* path, int flags) __asm__("__open64_2");
int peersClose(int descriptor) __asm__("close");
int peersDup(int descriptor) __asm__("dup");
int peersDup2(int from, int to) __asm__("dup2");
int peersDup3(int from, int to, int flags) __asm__("dup3");
int peersFcntl(int descriptor, int command, ...) __asm__("fcntl");
int peersFcntl64(int descriptor, int command, ...) __asm__("fcntl64");
int peersIoctl(int descriptor, unsigned long request, ...) __asm__("ioctl");
ssize_t peersRead(int descriptor, void* buffer, std::size_t length) __asm__("read");
void* peersMmap(void* where, std::size_t length, int protection, int flags, int descriptor,
                off_t offset) __asm__("mmap");
void* peersMmap64(void* where, std::size_t length, int protection, int flags, int descriptor,
                  off_t offset) __asm__("mmap64");
int peersFstat(int descriptor, struct stat* status) __asm__("fstat");
int peersFstat64(int descriptor, struct stat* status) __asm__("fstat64");
long peersSyscall(long number, ...) __asm__("syscall");
}
#pragma GCC visibility pop

int peersOpen(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = takesMode(flags) ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return openAny(AT_FDCWD, path, flags, mode);
}

int peersOpen64(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = takesMode(flags) ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return openAny(AT_FDCWD, path, flags, mode);
}

int peersOpenAt(int folder, const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = takesMode(flags) ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return openAny(folder, path, flags, mode);
}

int peersOpenAt64(int folder, const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = takesMode(flags) ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return openAny(folder, path, flags, mode);
}

int peersOpen2(const char* path, int flags) {
    return openAny(AT_FDCWD, path, flags, 0);
}

int peersOpen642(const char* path, int flags) {
    return openAny(AT_FDCWD, path, flags, 0);
}

int peersClose(int descriptor) {
    return closeAny(descriptor);
}

int peersDup(int descriptor) {
    return duplicate(descriptor, realCalls().dup(descriptor));
}

int peersDup2(int from, int to) {
    return duplicate(from, realCalls().dup2(from, to));
}

int peersDup3(int from, int to, int flags) {
    return duplicate(from, realCalls().dup3(from, to, flags));
}

int peersFcntl(int descriptor, int command, ...) {
    va_list rest;
    va_start(rest, command);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    return fcntlAny(descriptor, command, argument);
}

int peersFcntl64(int descriptor, int command, ...) {
    va_list rest;
    va_start(rest, command);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    return fcntlAny(descriptor, command, argument);
}

int peersIoctl(int descriptor, unsigned long request, ...) {
    va_list rest;
    va_start(rest, request);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    return controlAny(descriptor, request, argument);
}

ssize_t peersRead(int descriptor, void* buffer, std::size_t length) {
    const auto file = files().find(descriptor);
    return file ? file->read(descriptor, buffer, length) : realCalls().read(descriptor, buffer, length);
}

void* peersMmap(void* where, std::size_t length, int protection, int flags, int descriptor, off_t offset) {
    return mapAny(where, length, protection, flags, descriptor, offset);
}

void* peersMmap64(void* where, std::size_t length, int protection, int flags, int descriptor, off_t offset) {
    return mapAny(where, length, protection, flags, descriptor, offset);
}

int peersFstat(int descriptor, struct stat* status) {
    return statAny(descriptor, status);
}

int peersFstat64(int descriptor, struct stat* status) {
    return statAny(descriptor, status);
}

// libv4l2 makes its system calls by number.
long peersSyscall(long number, ...) {
    va_list list;
    va_start(list, number);
    long a[6];
    for (long& argument : a)
        argument = va_arg(list, long);
    va_end(list);
    const auto pointer = [](long value) { return reinterpret_cast<void*>(value); };
    switch (number) {
        case SYS_openat:
            return openAny(int(a[0]), static_cast<const char*>(pointer(a[1])), int(a[2]), mode_t(a[3]));
        case SYS_close:
            return closeAny(int(a[0]));
        case SYS_ioctl:
            return controlAny(int(a[0]), static_cast<unsigned long>(a[1]), pointer(a[2]));
        case SYS_read:
            return peersRead(int(a[0]), pointer(a[1]), std::size_t(a[2]));
        case SYS_mmap:
            return reinterpret_cast<long>(
                mapAny(pointer(a[0]), std::size_t(a[1]), int(a[2]), int(a[3]), int(a[4]), off_t(a[5])));
        default:
            return realCalls().syscall(number, a[0], a[1], a[2], a[3], a[4], a[5]);
    }
}

} // namespace tavelo::bench
