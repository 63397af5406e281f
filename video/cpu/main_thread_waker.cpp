// SPDX-License-Identifier: MIT
#include "video/cpu/main_thread_waker.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace tavelo {

MainThreadWaker::MainThreadWaker(std::function<void()> callback) : callback_(std::move(callback)) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    readEnd_ = ends[0];
    writeEnd_ = ends[1];
    notifier_ = std::make_unique<QSocketNotifier>(readEnd_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this] { runCallback(); });
}

MainThreadWaker::~MainThreadWaker() {
    notifier_.reset();
    if (readEnd_ >= 0) close(readEnd_);
    if (writeEnd_ >= 0) close(writeEnd_);
}

void MainThreadWaker::wake() noexcept {
    if (writeEnd_ < 0 || pending_.exchange(true)) return;
    const char byte = 0;
    // Cannot block or fail: the pipe never holds more than this byte.
    [[maybe_unused]] const auto written = write(writeEnd_, &byte, 1);
}

void MainThreadWaker::runCallback() {
    char byte = 0;
    if (read(readEnd_, &byte, 1) != 1) return;
    pending_ = false; // before the call, so that a wake() meanwhile causes another one
    callback_();
}

} // namespace tavelo
