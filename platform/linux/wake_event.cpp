// SPDX-License-Identifier: MIT
#include "platform/linux/wake_event.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <system_error>

namespace tavelo {

WakeEvent::WakeEvent() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    // The program is out of file descriptors; nothing it does would work from here on.
    if (!event_.isOpen()) throw std::system_error(errno, std::generic_category(), "eventfd");
}

void WakeEvent::set() {
    // Fails only if the counter is full, and then it is set.
    [[maybe_unused]] const int result = ::eventfd_write(event_.get(), 1);
}

void WakeEvent::clear() {
    eventfd_t value = 0;
    [[maybe_unused]] const int result = ::eventfd_read(event_.get(), &value);
}

bool WakeEvent::isSet() const {
    return waitFor(std::chrono::milliseconds(0));
}

bool WakeEvent::waitFor(std::chrono::milliseconds time) const {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + time;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        pollfd waiting{event_.get(), POLLIN, 0};
        const int ready = ::poll(&waiting, 1, int(std::max<std::int64_t>(left.count(), 0)));
        if (ready > 0) return true;
        if (ready == 0 || errno != EINTR) return false;
    }
}

} // namespace tavelo
