// SPDX-License-Identifier: MIT
// How much patience a stream that fails is given.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/error.h"

namespace tavelo {

/// Why a run of a stream is over.
enum class StreamEnd : std::uint8_t {
    stopped, ///< we were asked to
    gone,    ///< the driver says that the camera is gone; the device list knows whether it was unplugged
    busy,    ///< another program streams
    denied,  ///< we may not open the node
    busFull, ///< no format is light enough for what is left of the bus
    silent,  ///< no frame came for too long
    failed,  ///< anything else
};

StreamEnd streamEndOf(int error);
ErrorCode errorCodeOf(StreamEnd end);

/// A line for people on an end that is no stop.
/// @param reason of a stream that was silent or failed; of a busy camera, who holds it
std::string streamEndText(StreamEnd end, const std::string& reason);

/// So many damaged frames in a row, about a second of nothing else, are worth a line.
inline constexpr int droppedFramesWorthALine = 30;

/// An unplugged camera is still listed for a moment; one that is listed after so many tries was lost.
inline constexpr int goneWorthALine = 3;

struct StreamPatience {
    using Time = std::chrono::milliseconds;

    Time firstFrame{5000}; ///< what a camera may take to wake; doubles each time that it did not suffice
    Time silence{3000}; ///< without a whole frame; dim light slows a camera to 5 frames a second, not to none
    Time busyRetry{1000};  ///< until the other program has finished
    Time deniedRetry{200}; ///< udev gives the rights a moment after the node appears
    Time deniedFor{5000};  ///< after that, the rights are not coming
    Time firstRetry{250};  ///< of a silent or failed stream; doubles with each
    Time longestRetry{8000};
    Time longestFirstFrame{20000};
};

/// Decides whether and when to try again.  Thread-bound; knows no clock.  Not asked about a camera that is no
/// longer listed: that one's stream is over.
class StreamRetryPolicy {
public:
    explicit StreamRetryPolicy(const StreamPatience& patience)
        : patience_(patience),
          firstFrame_(patience.firstFrame) {}

    /// How long the next run may take until its first frame.
    std::chrono::milliseconds firstFrame() const { return firstFrame_; }

    struct Decision {
        std::optional<std::chrono::milliseconds> wait; ///< nothing: the input has ended
        bool report = false;                           ///< whether it is worth a line
    };

    Decision after(StreamEnd end);

    /// A whole frame came: all is forgiven.
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
