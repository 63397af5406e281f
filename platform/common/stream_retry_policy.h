// SPDX-License-Identifier: MIT
// When to retry a stream that fails.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/error.h"

namespace tavelo {

/// Why a run of a stream ended.
enum class StreamEnd : std::uint8_t {
    stopped, ///< we were asked to
    gone,    ///< the driver reports the camera gone; the device list knows whether it was unplugged
    busy,    ///< another program streams
    denied,  ///< we may not open the node
    busFull, ///< no format fits into the free bandwidth of the bus
    silent,  ///< no frame came for too long
    failed,  ///< anything else
};

/// @param error an errno
StreamEnd streamEndOf(int error);
StreamEnd streamEndOf(ErrorCode code);
ErrorCode errorCodeOf(StreamEnd end);

/// One line for people about an end other than `stopped`.
/// @param reason why the stream was silent or failed; for a busy camera, who holds it
std::string streamEndText(StreamEnd end, const std::string& reason);

/// Consecutive damaged frames, about a second's worth, after which a line is printed.
inline constexpr int damagedFramesWorthALine = 30;

/// Attempts after which a camera reported gone but still listed counts as lost; an unplugged one stays
/// listed for a moment.
inline constexpr int goneWorthALine = 3;

struct StreamPatience {
    using Time = std::chrono::milliseconds;

    Time firstFrame{5000}; ///< time for the camera to wake; doubles each time that it was too short
    Time silence{3000}; ///< without a whole frame; dim light slows a camera to 5 frames a second, no further
    Time busyRetry{1000};  ///< while another program streams
    Time deniedRetry{200}; ///< udev gives access a moment after the node appears
    Time deniedFor{5000};  ///< after that, access is no longer expected
    Time firstRetry{250};  ///< of a silent or failed stream; doubles each time
    Time longestRetry{8000};
    Time longestFirstFrame{20000};
};

/// Decides whether and when to try again.  Thread-bound; uses no clock.  Not asked about a camera that is
/// no longer listed: its stream has ended.
class StreamRetryPolicy {
public:
    explicit StreamRetryPolicy(const StreamPatience& patience)
        : patience_(patience),
          firstFrame_(patience.firstFrame) {}

    /// How long the next run may take to deliver its first frame.
    std::chrono::milliseconds firstFrame() const { return firstFrame_; }

    struct Decision {
        std::optional<std::chrono::milliseconds> wait; ///< nothing: the input has ended
        bool report = false;                           ///< whether to print a line
    };

    Decision after(StreamEnd end);

    /// A whole frame came: forgets all failures.
    void frameCame();

private:
    std::chrono::milliseconds nextRetry();

    StreamPatience patience_;
    std::chrono::milliseconds firstFrame_;
    std::chrono::milliseconds denied_{0};
    std::optional<std::chrono::milliseconds> lastRetry_;
    std::optional<StreamEnd> reported_;
    int gone_ = 0; // since the last frame
};

} // namespace tavelo
