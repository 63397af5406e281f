// SPDX-License-Identifier: MIT
// A camera whose picture PipeWire hands to every program that asks.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "platform/capture.h"
#include "platform/linux/pictures/frame_format.h"

namespace tavelo {

/// Thread-bound to the thread that streams; nothing here waits, except that ending a stream takes
/// milliseconds.
///
///     unknown --> absent, refused <--> offered --start()--> starting --> streaming
///                    ^           ^                     |            |
///                    +-----------+------ stop() -------+- ended <---+
class SharedCamera {
public:
    enum class State : std::uint8_t {
        unknown,   ///< PipeWire has not told yet what it has
        absent,    ///< there is no daemon, or it does not have the camera
        refused,   ///< the user does not allow the camera, or has not answered yet
        offered,   ///< start() may be called
        starting,  ///< the daemon has not yet linked us with the camera
        streaming, ///< frames come once the camera is awake
        ended,     ///< the daemon, the camera or the link is gone; why() says which
    };

    /// Its bytes are in the daemon's memory.
    struct Frame {
        std::span<const std::uint8_t> bytes;
        FrameFormat format;                             ///< may differ from that of the frame before
        std::optional<std::chrono::nanoseconds> time{}; ///< on the monotonic clock, if the source tells it
        bool damaged = false;                           ///< the source says so, or it is empty
    };

    virtual ~SharedCamera() = default;

    /// For poll(): readable when the state has changed or a frame waits, until look() is called.
    virtual int descriptor() const = 0;
    virtual State look() = 0;
    /// Why the stream ended, for people.
    virtual std::string why() const = 0;

    /// A number of the camera as it is offered, never used again; 0 if it is not.  If it comes back after it
    /// was gone, it has another one.
    virtual std::uint64_t offer() const = 0;

    /// Begins a stream.  The format is ours to choose if no other program uses the camera; otherwise it stays
    /// as it is.
    virtual void start(const CaptureFormatRequest& request) = 0;
    /// Ends the stream; no frame may be taken then.  May be called without a stream.
    virtual void stop() = 0;

    /// The newest frame; older ones have gone back.  It is ours until giveBack(), which must follow soon: the
    /// end of the stream waits for it.
    /// @return false if none has come since
    virtual bool take(Frame& frame) = 0;
    virtual void giveBack() = 0;
};

} // namespace tavelo
