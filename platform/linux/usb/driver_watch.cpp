// SPDX-License-Identifier: MIT
#include "platform/linux/usb/driver_watch.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>
#include <system_error>
#include <utility>

namespace tavelo {
namespace {

namespace fs = std::filesystem;

constexpr const char* programName = "tavelo-driver-watch";

struct SpawnOptions {
    SpawnOptions() {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawnattr_init(&attributes);
    }
    ~SpawnOptions() {
        ::posix_spawnattr_destroy(&attributes);
        ::posix_spawn_file_actions_destroy(&actions);
    }
    SpawnOptions(const SpawnOptions&) = delete;
    SpawnOptions& operator=(const SpawnOptions&) = delete;

    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
};

// The other end becomes the process's standard input; it must not hold our output streams open.
pid_t spawn(const fs::path& program, const std::string& node, const std::string& interface, int input) {
    SpawnOptions options;
    ::posix_spawn_file_actions_adddup2(&options.actions, input, STDIN_FILENO);
    ::posix_spawn_file_actions_addopen(&options.actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_addopen(&options.actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    // A signal that ends us or the whole session must not end the watch before us.
    ::posix_spawnattr_setflags(&options.attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK);
    sigset_t all;
    ::sigfillset(&all);
    ::posix_spawnattr_setsigmask(&options.attributes, &all);

    std::array<std::string, 3> words{program.string(), node, interface};
    std::array<char*, 4> arguments{words[0].data(), words[1].data(), words[2].data(), nullptr};
    std::array<char*, 1> environment{nullptr};
    pid_t process = -1;
    const int result = ::posix_spawn(&process, program.c_str(), &options.actions, &options.attributes,
                                     arguments.data(), environment.data());
    return result == 0 ? process : -1;
}

} // namespace

std::unique_ptr<DriverWatch> DriverWatch::start(const fs::path& program, const UsbAddress& device,
                                                std::uint8_t controlInterface) {
    // A socket pair, not a pipe: writing to a process that is already gone raises no signal.
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) return nullptr;
    const FileDescriptor theirs(ends[0]);
    FileDescriptor ours(ends[1]);
    const pid_t process = spawn(program, device.path(), std::to_string(controlInterface), theirs.get());
    if (process < 0) return nullptr;
    return std::unique_ptr<DriverWatch>(new DriverWatch(process, std::move(ours)));
}

DriverWatch::~DriverWatch() {
    const char word = 0;
    [[maybe_unused]] const ssize_t sent = ::send(word_.get(), &word, sizeof word, MSG_NOSIGNAL);
    word_.reset();
    while (::waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

fs::path driverWatchProgram() {
    std::error_code error;
    const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    if (error) return {};
    for (const char* place : {"", "../" TAVELO_LIBEXEC, "../bin"}) {
        fs::path program = folder / place / programName;
        if (::access(program.c_str(), X_OK) == 0) return program;
    }
    return {};
}

} // namespace tavelo
