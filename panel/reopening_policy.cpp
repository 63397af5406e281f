// SPDX-License-Identifier: MIT
#include "panel/reopening_policy.h"

#include <algorithm>

namespace tavelo {

bool ReopeningPolicy::mayOpen(ErrorCode failure, Time failedAt, Time now) {
    if (failure == ErrorCode::refused) return true;
    const Time quietSince = std::max(failedAt, lastAction_);
    if (hasOpened_ || now < quietSince + quietTime) return false;
    hasOpened_ = true;
    return true;
}

void ReopeningPolicy::actionEnded(Time now, bool held) {
    lastAction_ = now;
    if (!held) dragEnded();
}

} // namespace tavelo
