// SPDX-License-Identifier: MIT
// Pictures that a node hands out.
#pragma once

#include <pipewire/pipewire.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "platform/linux/pictures/frame_format.h"
#include "platform/linux/pipewire/buffer_memory.h"
#include "platform/linux/pipewire/module/shared_camera.h"
#include "platform/linux/pipewire/pipewire_session.h"
#include "platform/linux/pipewire/video_params.h"

namespace tavelo {

/// One stream, from its connection to its end.  The library's data thread puts the newest buffer aside and
/// gives older ones back at once, so a slow receiver never keeps more than two of them.
///
/// Made and destroyed with the session's lock held; take() and giveBack() need no lock, on one thread.
class PipewirePictureStream {
public:
    enum class State : std::uint8_t { starting, streaming, ended };

    /// Called on PipeWire's threads; must not wait.
    struct Events {
        std::function<void()> frameCame;
        std::function<void()> stateChanged; ///< with the session's lock held
    };

    /// @param target  the serial of the node; the stream takes no other
    /// @param formats best first
    PipewirePictureStream(PipewireSession& session, std::uint64_t target, VideoParams& formats,
                          Events events);
    ~PipewirePictureStream();
    PipewirePictureStream(const PipewirePictureStream&) = delete;
    PipewirePictureStream& operator=(const PipewirePictureStream&) = delete;

    State state() const { return state_; }
    std::string why() const;

    /// The daemon's number of our end; PW_ID_ANY before it is known.  With the session's lock held.
    std::uint32_t node() const { return stream_ ? pw_stream_get_node_id(stream_.get()) : PW_ID_ANY; }

    /// See SharedCamera.
    bool take(SharedCamera::Frame& frame);
    void giveBack();

    /// Gives everything back to the library, before the daemon's connection ends.  Waits for a frame that is
    /// taken, so its taker must be another thread.
    void release();

private:
    static const pw_stream_events streamEvents;

    void end(const std::string& why);
    void stateChanged(pw_stream_state state, const char* error);
    void formatChanged(const spa_pod* format);
    void bufferCame(pw_buffer* buffer);
    void bufferGoes(pw_buffer* buffer);
    void framesCame();

    const Events events_;
    std::atomic<State> state_ = State::starting;

    mutable std::mutex mutex_; // guards the rest but the stream's life, and the library's queues
    std::condition_variable givenBack_;
    std::string why_;
    std::optional<FrameFormat> format_;
    std::map<const pw_buffer*, DmaMemory> dmaMemory_;
    pw_buffer* waiting_ = nullptr;
    pw_buffer* taken_ = nullptr;
    bool released_ = false;

    PipewirePtr<pw_stream> stream_;
    PipewireListener listener_;
};

} // namespace tavelo
