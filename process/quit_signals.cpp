// SPDX-License-Identifier: MIT
#include "process/quit_signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace tavelo {
namespace {

// A signal handler may only call async-signal-safe functions: it writes to a pipe that the event loop reads.
volatile std::sig_atomic_t writeEnd = -1;

extern "C" void wakeEventLoop(int /*signal*/) {
    const char byte = 0;
    const ssize_t written = ::write(writeEnd, &byte, 1);
    static_cast<void>(written); // if the pipe is full, a signal is already waiting
}

std::array<int, 2> openPipe() {
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return {-1, -1};
    return ends;
}

} // namespace

QuitSignals::QuitSignals() : pipe_(openPipe()), notifier_(pipe_[0], QSocketNotifier::Read) {
    if (pipe_[0] < 0) {
        notifier_.setEnabled(false);
        return;
    }
    writeEnd = pipe_[1];
    connect(&notifier_, &QSocketNotifier::activated, this, &QuitSignals::drain);
    std::signal(SIGTERM, wakeEventLoop);
    std::signal(SIGINT, wakeEventLoop);
    // nohup ignores SIGHUP so that the program outlives its terminal.
    handlesHangUp_ = std::signal(SIGHUP, wakeEventLoop) != SIG_IGN;
    if (!handlesHangUp_) std::signal(SIGHUP, SIG_IGN);
    // Closing the terminal closes standard error, but finishing a movie may still print messages.
    std::signal(SIGPIPE, SIG_IGN);
}

void QuitSignals::drain() {
    std::array<char, 16> bytes{};
    while (::read(pipe_[0], bytes.data(), bytes.size()) > 0) {
    }
    Q_EMIT asked();
}

QuitSignals::~QuitSignals() {
    if (pipe_[0] < 0) return;
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGINT, SIG_DFL);
    if (handlesHangUp_) std::signal(SIGHUP, SIG_DFL);
    notifier_.setEnabled(false);
    ::close(pipe_[0]);
    ::close(pipe_[1]);
}

} // namespace tavelo
