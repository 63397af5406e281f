// SPDX-License-Identifier: MIT
#include "bench/peers/preload/observed_file.h"

#include <linux/videodev2.h>

#include "bench/peers/preload/real_calls.h"

namespace tavelo::bench {

int ObservedFile::control(int file, unsigned long request, void* argument) {
    const int result = realCalls().ioctl(file, request, argument);
    // A caller that has the request in 32 bits extends its sign.
    if (result == 0 && (request & 0xFFFF'FFFFU) == VIDIOC_DQBUF) {
        const auto& buffer = *static_cast<const v4l2_buffer*>(argument);
        const std::int64_t microseconds =
            std::int64_t(buffer.timestamp.tv_sec) * 1'000'000 + buffer.timestamp.tv_usec;
        log_.add(buffer.sequence, microseconds * 1000);
    }
    return result;
}

void* ObservedFile::map(void* where, std::size_t length, int protection, int flags, int file, off_t offset) {
    return realCalls().mmap(where, length, protection, flags, file, offset);
}

ssize_t ObservedFile::read(int file, void* buffer, std::size_t length) {
    return realCalls().read(file, buffer, length);
}

} // namespace tavelo::bench
