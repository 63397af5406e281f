// SPDX-License-Identifier: MIT
#include "bench/peers/preload/frame_log.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <ctime>

#include "platform/common/file_descriptor.h"

namespace tavelo::bench {
namespace {

std::int64_t nanoseconds(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return std::int64_t(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

} // namespace

void FrameLog::start() {
    std::call_once(started_, [this] {
        if (path_.empty()) return;
        const FileDescriptor file(::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        if (!file.isOpen() || ::ftruncate(file.get(), off_t(sizeof(Content))) != 0) return;
        void* const memory =
            ::mmap(nullptr, sizeof(Content), PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
        if (memory != MAP_FAILED) content_ = static_cast<Content*>(memory);
    });
}

// One program has one stream, so two threads never add at once; the count is what readers go by.
void FrameLog::add(std::int64_t sequence, std::int64_t complete) {
    if (content_ == nullptr) return;
    const std::uint64_t at = content_->count.load(std::memory_order_relaxed);
    if (at >= mostFrames) return;
    content_->frames[at] = {sequence, complete, nanoseconds(CLOCK_MONOTONIC),
                            nanoseconds(CLOCK_PROCESS_CPUTIME_ID)};
    content_->count.store(at + 1, std::memory_order_release);
}

} // namespace tavelo::bench
