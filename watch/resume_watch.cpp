// SPDX-License-Identifier: MIT
#include "watch/resume_watch.h"

#include <utility>

namespace tavelo {

ResumeWatch::ResumeWatch(Clock& clock, std::function<void()> resumed)
    : clock_(clock),
      resumed_(std::move(resumed)),
      slept_(clock.slept()) {
    wait();
}

void ResumeWatch::wait() {
    clock_.callAfter(interval, [this, alive = std::weak_ptr<const bool>(alive_)] {
        if (!alive.expired()) look();
    });
}

void ResumeWatch::look() {
    wait();
    const std::chrono::nanoseconds slept = clock_.slept();
    const bool hasSlept = slept - slept_ >= shortestSleep;
    slept_ = slept;
    if (hasSlept) resumed_(); // may destroy this
}

} // namespace tavelo
