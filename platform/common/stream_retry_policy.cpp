// SPDX-License-Identifier: MIT
#include "platform/common/stream_retry_policy.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace tavelo {

StreamEnd streamEndOf(int error) {
    switch (error) {
        case ENODEV:
        case ENOENT:
        case ENXIO:
            return StreamEnd::gone;
        case EBUSY:
            return StreamEnd::busy;
        case EACCES:
        case EPERM:
            return StreamEnd::denied;
        case ENOSPC:
            return StreamEnd::busFull;
        default:
            return StreamEnd::failed;
    }
}

StreamEnd streamEndOf(ErrorCode code) {
    switch (code) {
        case ErrorCode::gone:
            return StreamEnd::gone;
        case ErrorCode::busy:
            return StreamEnd::busy;
        case ErrorCode::denied:
            return StreamEnd::denied;
        default:
            return StreamEnd::failed;
    }
}

ErrorCode errorCodeOf(StreamEnd end) {
    switch (end) {
        case StreamEnd::stopped:
            return ErrorCode::none;
        case StreamEnd::gone:
            return ErrorCode::gone;
        case StreamEnd::busy:
            return ErrorCode::busy;
        case StreamEnd::denied:
            return ErrorCode::denied;
        case StreamEnd::silent:
            return ErrorCode::timeout;
        case StreamEnd::busFull:
        case StreamEnd::failed:
            break;
    }
    return ErrorCode::invalid;
}

std::string streamEndText(StreamEnd end, const std::string& reason) {
    switch (end) {
        case StreamEnd::gone:
            return "streaming: the driver has lost the camera; trying again";
        case StreamEnd::busy:
            return "streaming: " + reason + "; waiting for it";
        case StreamEnd::denied:
            return "opening: no permission";
        case StreamEnd::busFull:
            return "streaming: the USB bus has no room for any format; trying again";
        case StreamEnd::silent:
            return "streaming: " + reason + "; starting it again";
        default:
            return "streaming: " + reason + "; trying again";
    }
}

StreamRetryPolicy::Decision StreamRetryPolicy::after(StreamEnd end) {
    switch (end) {
        case StreamEnd::stopped:
            return {};
        case StreamEnd::gone:
            if (++gone_ < goneWorthALine) return {nextRetry(), false};
            break;
        case StreamEnd::denied:
            if (denied_ >= patience_.deniedFor) return {std::nullopt, true};
            denied_ += patience_.deniedRetry;
            return {patience_.deniedRetry, false};
        case StreamEnd::busy:
            return {patience_.busyRetry, std::exchange(reported_, end) != end};
        case StreamEnd::silent:
            firstFrame_ =
                std::min(firstFrame_ * 2, std::max(patience_.firstFrame, patience_.longestFirstFrame));
            break;
        case StreamEnd::busFull:
        case StreamEnd::failed:
            break;
    }
    return {nextRetry(), std::exchange(reported_, end) != end};
}

std::chrono::milliseconds StreamRetryPolicy::nextRetry() {
    lastRetry_ = lastRetry_ ? std::min(*lastRetry_ * 2, patience_.longestRetry) : patience_.firstRetry;
    return *lastRetry_;
}

void StreamRetryPolicy::frameCame() {
    firstFrame_ = patience_.firstFrame;
    denied_ = {};
    lastRetry_.reset();
    gone_ = 0;
    reported_.reset();
}

} // namespace tavelo
