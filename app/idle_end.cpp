// SPDX-License-Identifier: MIT
#include "app/idle_end.h"

#include <utility>

namespace tavelo {

IdleEnd::IdleEnd(std::chrono::milliseconds patience, std::function<bool()> isIdle)
    : isIdle_(std::move(isIdle)) {
    timer_.setSingleShot(true);
    timer_.setInterval(patience);
    connect(&timer_, &QTimer::timeout, this, &IdleEnd::check);
    restart();
}

void IdleEnd::check() {
    if (isIdle_())
        Q_EMIT reached();
    else
        restart();
}

} // namespace tavelo
