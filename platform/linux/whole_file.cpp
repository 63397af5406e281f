// SPDX-License-Identifier: MIT
// Reading, links and the lock; the rest is in whole_file_replacement.cpp.
#include "platform/linux/whole_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>
#include <thread>

#include "platform/linux/file_error.h"

namespace tavelo {
namespace {

constexpr std::chrono::milliseconds retryEvery(5);

FileVersion versionOf(const struct stat& status) {
    constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
    return {.device = status.st_dev,
            .inode = status.st_ino,
            .changedAt = std::int64_t{status.st_mtim.tv_sec} * nanosecondsPerSecond + status.st_mtim.tv_nsec,
            .size = status.st_size};
}

bool readAll(int descriptor, std::size_t mostBytes, std::string& bytes, Error& error) {
    std::array<char, 65536> part{};
    for (;;) {
        const auto count = uninterrupted([&] { return ::read(descriptor, part.data(), part.size()); });
        if (count < 0) {
            error = fileError(errno);
            return false;
        }
        if (count == 0) return true;
        bytes.append(part.data(), static_cast<std::size_t>(count));
        if (bytes.size() <= mostBytes) continue;
        error = {ErrorCode::invalid, "larger than " + std::to_string(mostBytes >> 20U) + " MiB"};
        return false;
    }
}

/// Whether the name still belongs to the open file; somebody may have removed it meanwhile.
bool isNamed(int descriptor, const std::string& path) {
    struct stat open {};
    struct stat named {};
    return ::fstat(descriptor, &open) == 0 && ::stat(path.c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

} // namespace

std::optional<FileVersion> versionOfFile(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return std::nullopt;
    return versionOf(status);
}

std::optional<std::string> followLinks(std::string path, Error& error) {
    constexpr int mostLinks = 40; // the kernel's own limit
    namespace fs = std::filesystem;
    for (int link = 0; link < mostLinks; ++link) {
        std::error_code failure;
        const fs::path target = fs::read_symlink(path, failure);
        // Not a link, or nothing at all: the end of the chain.
        if (failure == std::errc::invalid_argument || failure == std::errc::no_such_file_or_directory ||
            failure == std::errc::not_a_directory) {
            return path;
        }
        if (failure) {
            error = fileError(failure.value());
            return std::nullopt;
        }
        path = (fs::path(path).parent_path() / target).string();
    }
    error = fileError(ELOOP);
    return std::nullopt;
}

std::optional<FileContent> readWholeFile(const std::string& path, std::size_t mostBytes, Error& error) {
    // Without O_NONBLOCK, opening a pipe would wait for a writer.
    const FileDescriptor file(
        uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }));
    FileContent content;
    if (!file.isOpen()) {
        if (errno == ENOENT || errno == ENOTDIR) return content;
        error = fileError(errno);
        return std::nullopt;
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        error = fileError(errno);
        return std::nullopt;
    }
    if (!S_ISREG(status.st_mode)) {
        error = {ErrorCode::invalid, "not a regular file"};
        return std::nullopt;
    }
    content.exists = true;
    content.version = versionOf(status);
    if (!readAll(file.get(), mostBytes, content.bytes, error)) return std::nullopt;
    return content;
}

FileLock::FileLock(const std::string& path, std::chrono::milliseconds patience, Error& error) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        FileDescriptor file(uninterrupted(
            [&] { return ::open(path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, newFileMode); }));
        if (!file.isOpen()) {
            error = fileError(errno);
            return;
        }
        const bool locked = uninterrupted([&] { return ::flock(file.get(), LOCK_EX | LOCK_NB); }) == 0;
        if (locked && isNamed(file.get(), path)) {
            file_ = std::move(file);
            return;
        }
        if (!locked && errno != EWOULDBLOCK) {
            error = fileError(errno);
            return;
        }
        if (std::chrono::steady_clock::now() > deadline) {
            error = {ErrorCode::busy, "another program holds the lock"};
            return;
        }
        std::this_thread::sleep_for(retryEvery);
    }
}

} // namespace tavelo
