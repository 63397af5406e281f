// SPDX-License-Identifier: MIT
#include "platform/linux/crash_report.h"

#include <execinfo.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <span>

namespace tavelo {
namespace {

constexpr std::array deadlySignals{SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGSYS};
constexpr std::size_t mostFrames = 512; // while windows are drawn, each widget adds a call
constexpr std::size_t handlerStack = std::size_t{64} * 1024;

// For the signal handler, which can be given nothing else.  Filled once, before it is installed.
struct CrashState {
    std::array<char, PATH_MAX> path{};
    std::array<char, 256> heading{};
    std::atomic_flag crashed;
};

CrashState& crashState() {
    static CrashState state;
    return state;
}

// The rest of this part runs in the signal handler: no memory is allocated, no lock taken.

void writeText(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(file, text.data(), text.size());
        if (written <= 0) return;
        text.remove_prefix(std::size_t(written));
    }
}

void writeField(int file, std::string_view name, std::uint64_t value, int base = 10) {
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, base).ptr;
    writeText(file, name);
    writeText(file, {digits.data(), std::size_t(end - digits.data())});
    writeText(file, "\n");
}

void makeFoldersOf(std::span<char> path) {
    for (std::size_t at = 1; at < path.size() && path[at] != '\0'; ++at) {
        if (path[at] != '/') continue;
        path[at] = '\0';
        ::mkdir(path.data(), 0700);
        path[at] = '/';
    }
}

void writeReport(int signal, const siginfo_t& info) {
    CrashState& state = crashState();
    makeFoldersOf(state.path);
    const int file = ::open(state.path.data(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file < 0) return;
    writeText(file, state.heading.data());
    writeField(file, "time ", std::uint64_t(std::time(nullptr)));
    writeField(file, "signal ", std::uint64_t(signal));
    const bool fromTheKernel = info.si_code > 0; // not sent by a process
    if (fromTheKernel && (signal == SIGSEGV || signal == SIGBUS))
        writeField(file, "address 0x", reinterpret_cast<std::uintptr_t>(info.si_addr), 16);
    std::array<char, 17> thread{};
    if (::prctl(PR_GET_NAME, thread.data()) == 0) {
        writeText(file, "thread ");
        writeText(file, thread.data());
        writeText(file, "\n");
    }
    std::array<void*, mostFrames> frames{};
    ::backtrace_symbols_fd(frames.data(), ::backtrace(frames.data(), mostFrames), file);
    ::close(file);
}

void crashed(int signal, siginfo_t* info, void* /*context*/) {
    // A second thread, or a crash in here, leaves the report to the first.
    if (!crashState().crashed.test_and_set()) writeReport(signal, *info);
    // SA_RESETHAND: the same instruction, or this, now ends the process.
    ::raise(signal);
}

// From here on: ordinary code.

void installHandlers() {
    static std::array<char, handlerStack> stack; // the stack that overflowed is no place for a handler
    const stack_t alternative{stack.data(), 0, stack.size()};
    ::sigaltstack(&alternative, nullptr);
    // The first call loads a library, which a handler must not do.
    std::array<void*, 1> frame{};
    ::backtrace(frame.data(), 1);
    for (const int signal : deadlySignals) {
        struct sigaction before {};
        if (::sigaction(signal, nullptr, &before) != 0 || (before.sa_flags & SA_SIGINFO) != 0 ||
            before.sa_handler != SIG_DFL)
            continue;
        struct sigaction action {};
        action.sa_sigaction = crashed;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK | static_cast<int>(SA_RESETHAND);
        ::sigaction(signal, &action, nullptr);
    }
}

} // namespace

std::string crashFolder() {
    const char* state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && *state == '/') return std::string(state) + "/tavelo";
    const char* home = std::getenv("HOME");
    if (home == nullptr || *home != '/') return {};
    return std::string(home) + "/.local/state/tavelo";
}

void reportCrashes(const std::string& folder, std::string_view program, std::string_view version) {
    CrashState& state = crashState();
    const std::string path =
        folder + "/" + std::string(program) + "." + std::to_string(::getpid()) + ".crash";
    const std::string heading = std::string(program) + " " + std::string(version) + "\n";
    if (folder.empty() || path.size() >= state.path.size() || heading.size() >= state.heading.size()) return;
    std::ranges::copy(path, state.path.begin());
    std::ranges::copy(heading, state.heading.begin());
    installHandlers();
}

} // namespace tavelo
