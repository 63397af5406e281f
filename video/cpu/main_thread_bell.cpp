// SPDX-License-Identifier: MIT
#include "video/cpu/main_thread_bell.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace tavelo {

MainThreadBell::MainThreadBell(std::function<void()> answer) : answer_(std::move(answer)) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    readEnd_ = ends[0];
    writeEnd_ = ends[1];
    notifier_ = std::make_unique<QSocketNotifier>(readEnd_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { answerRing(); });
}

MainThreadBell::~MainThreadBell() {
    notifier_.reset();
    if (readEnd_ >= 0) close(readEnd_);
    if (writeEnd_ >= 0) close(writeEnd_);
}

void MainThreadBell::ring() noexcept {
    if (writeEnd_ < 0 || rung_.exchange(true)) return;
    const char byte = 0;
    // Cannot block or fail: the pipe never holds more than this byte.
    [[maybe_unused]] const auto written = write(writeEnd_, &byte, 1);
}

void MainThreadBell::answerRing() {
    char byte = 0;
    if (read(readEnd_, &byte, 1) != 1) return;
    rung_ = false; // before the call, so that a ring() meanwhile causes another one
    answer_();
}

} // namespace tavelo
