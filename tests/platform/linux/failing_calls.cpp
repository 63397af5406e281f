// SPDX-License-Identifier: MIT
// These definitions replace those of the C library and forward to them.
#undef _FORTIFY_SOURCE // otherwise some of them are already defined as inline functions

#include "failing_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace tavelo::testing {
namespace {

struct State {
    std::mutex mutex;   // guards the rest
    std::string folder; // empty: no calls are intercepted
    std::vector<FailingCalls::Call> calls;
    std::optional<std::pair<std::size_t, int>> once;
    std::map<std::string, int, std::less<>> always;
    bool shortWrites = false;
};

State& state() {
    static State shared;
    return shared;
}

std::string pathOf(int descriptor) {
    std::array<char, 4096> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const long length = syscall(SYS_readlinkat, AT_FDCWD, link.c_str(), path.data(), path.size());
    return length > 0 ? std::string(path.data(), static_cast<std::size_t>(length)) : std::string();
}

std::string pathOf(int folder, const char* name) {
    return name[0] == '/' || folder == AT_FDCWD ? std::string(name) : pathOf(folder) + '/' + name;
}

/// Records the call.  Returns true, with errno set, if it must fail.
bool fails(std::string_view call, const std::string& path) {
    State& shared = state();
    const std::lock_guard lock(shared.mutex);
    if (shared.folder.empty() || !path.starts_with(shared.folder)) return false;
    const std::size_t number = shared.calls.size();
    shared.calls.push_back({std::string(call), path.substr(shared.folder.size())});
    if (const auto always = shared.always.find(call); always != shared.always.end()) {
        errno = always->second;
        return true;
    }
    if (shared.once && shared.once->first == number) {
        errno = shared.once->second;
        return true;
    }
    return false;
}

bool writesAreShort(int descriptor) {
    State& shared = state();
    const std::string path = pathOf(descriptor);
    const std::lock_guard lock(shared.mutex);
    return shared.shortWrites && !shared.folder.empty() && path.starts_with(shared.folder);
}

template <typename Function>
Function real(Function /*ours*/, const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

FailingCalls::FailingCalls(const std::string& folder) {
    State& shared = state();
    const std::lock_guard lock(shared.mutex);
    shared.folder = folder;
    shared.calls.clear();
}

FailingCalls::~FailingCalls() {
    State& shared = state();
    const std::lock_guard lock(shared.mutex);
    shared.folder.clear();
    shared.once.reset();
    shared.always.clear();
    shared.shortWrites = false;
}

void FailingCalls::failOnce(std::size_t number, int error) {
    const std::lock_guard lock(state().mutex);
    state().once = std::pair(number, error);
}

void FailingCalls::failAlways(std::string_view call, int error) {
    const std::lock_guard lock(state().mutex);
    state().always.insert_or_assign(std::string(call), error);
}

void FailingCalls::shortenWrites() {
    const std::lock_guard lock(state().mutex);
    state().shortWrites = true;
}

std::vector<FailingCalls::Call> FailingCalls::calls() const {
    const std::lock_guard lock(state().mutex);
    return state().calls;
}

} // namespace tavelo::testing

using tavelo::testing::fails;
using tavelo::testing::pathOf;
using tavelo::testing::real;

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (fails("open", path)) return -1;
    static const auto next = real(&open, "open");
    return next(path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    const bool unnamed = (flags & O_TMPFILE) == O_TMPFILE;
    if (fails(unnamed ? "openat unnamed" : "openat", pathOf(folder, path))) return -1;
    static const auto next = real(&openat, "openat");
    return next(folder, path, flags, mode);
}

ssize_t read(int descriptor, void* bytes, size_t size) {
    if (fails("read", pathOf(descriptor))) return -1;
    static const auto next = real(&read, "read");
    return next(descriptor, bytes, size);
}

ssize_t write(int descriptor, const void* bytes, size_t size) {
    if (fails("write", pathOf(descriptor))) return -1;
    static const auto next = real(&write, "write");
    const bool shorten = size > 1 && tavelo::testing::writesAreShort(descriptor);
    return next(descriptor, bytes, shorten ? size / 2 : size);
}

ssize_t pread(int descriptor, void* bytes, size_t size, off_t at) {
    if (fails("pread", pathOf(descriptor))) return -1;
    static const auto next = real(&pread, "pread");
    return next(descriptor, bytes, size, at);
}

ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t at) {
    if (fails("pwrite", pathOf(descriptor))) return -1;
    static const auto next = real(&pwrite, "pwrite");
    const bool shorten = size > 1 && tavelo::testing::writesAreShort(descriptor);
    return next(descriptor, bytes, shorten ? size / 2 : size, at);
}

int ftruncate(int descriptor, off_t size) noexcept {
    if (fails("ftruncate", pathOf(descriptor))) return -1;
    static const auto next = real(&ftruncate, "ftruncate");
    return next(descriptor, size);
}

int fdatasync(int descriptor) {
    if (fails("fdatasync", pathOf(descriptor))) return -1;
    static const auto next = real(&fdatasync, "fdatasync");
    return next(descriptor);
}

int fsync(int descriptor) {
    if (fails("fsync", pathOf(descriptor))) return -1;
    static const auto next = real(&fsync, "fsync");
    return next(descriptor);
}

// Like the kernel's close(): the descriptor is gone even if closing fails.
int close(int descriptor) {
    const bool failing = fails("close", pathOf(descriptor));
    const int error = errno;
    static const auto next = real(&close, "close");
    const int result = next(descriptor);
    if (!failing) return result;
    errno = error;
    return -1;
}

int fchmod(int descriptor, mode_t mode) noexcept {
    if (fails("fchmod", pathOf(descriptor))) return -1;
    static const auto next = real(&fchmod, "fchmod");
    return next(descriptor, mode);
}

int fstat(int descriptor, struct stat* status) noexcept {
    if (fails("fstat", pathOf(descriptor))) return -1;
    static const auto next = real(&fstat, "fstat");
    return next(descriptor, status);
}

int fstatat(int folder, const char* path, struct stat* status, int flags) noexcept {
    if (fails("fstatat", pathOf(folder, path))) return -1;
    static const auto next = real(&fstatat, "fstatat");
    return next(folder, path, status, flags);
}

int flock(int descriptor, int operation) noexcept {
    if (fails("flock", pathOf(descriptor))) return -1;
    static const auto next = real(&flock, "flock");
    return next(descriptor, operation);
}

int mkdir(const char* path, mode_t mode) noexcept {
    if (fails("mkdir", path)) return -1;
    static const auto next = real(&mkdir, "mkdir");
    return next(path, mode);
}

ssize_t readlink(const char* path, char* target, size_t size) noexcept {
    if (fails("readlink", path)) return -1;
    static const auto next = real(&readlink, "readlink");
    return next(path, target, size);
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept {
    if (fails("linkat", pathOf(toFolder, to))) return -1;
    static const auto next = real(&linkat, "linkat");
    return next(fromFolder, from, toFolder, to, flags);
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    if (fails("renameat", pathOf(toFolder, to))) return -1;
    static const auto next = real(&renameat, "renameat");
    return next(fromFolder, from, toFolder, to);
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept {
    const bool exchange = flags == RENAME_EXCHANGE;
    if (fails(exchange ? "renameat2 exchange" : "renameat2", pathOf(toFolder, to))) return -1;
    static const auto next = real(&renameat2, "renameat2");
    return next(fromFolder, from, toFolder, to, flags);
}

int rename(const char* from, const char* to) noexcept {
    if (fails("rename", to)) return -1;
    static const auto next = real(&rename, "rename");
    return next(from, to);
}

int unlink(const char* path) noexcept {
    if (fails("unlink", path)) return -1;
    static const auto next = real(&unlink, "unlink");
    return next(path);
}

int lstat(const char* path, struct stat* status) noexcept {
    if (fails("lstat", path)) return -1;
    static const auto next = real(&lstat, "lstat");
    return next(path, status);
}

int unlinkat(int folder, const char* path, int flags) noexcept {
    if (fails("unlinkat", pathOf(folder, path))) return -1;
    static const auto next = real(&unlinkat, "unlinkat");
    return next(folder, path, flags);
}

} // extern "C"
