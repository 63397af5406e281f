// SPDX-License-Identifier: MIT
// A microphone of PipeWire's.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/pipewire/microphone_search.h"
#include "platform/linux/pipewire/pipewire_session.h"
#include "platform/linux/pipewire/sound_ring.h"
#include "platform/linux/wake_event.h"
#include "platform/sound_source.h"

namespace tavelo {

/// PipeWire's realtime thread puts the sound into a ring; a thread of this object's, "sound", passes it on.
class MicrophoneInput final : public SoundInput, private PipewireObserver {
public:
    MicrophoneInput(std::shared_ptr<PipewireSession> session, MicrophoneSearch::Found microphone);
    ~MicrophoneInput() override;
    MicrophoneInput(const MicrophoneInput&) = delete;
    MicrophoneInput& operator=(const MicrophoneInput&) = delete;

    AudioSettings settings() const override;
    void start(SoundSink& sink) override;
    void stop() override;

private:
    static const pw_stream_events streamEvents;

    void pipewireObjectWent(const PipewireObject& object) noexcept override;
    void pipewireWent() noexcept override;

    // With the session's lock held.
    void openStream();
    void closeStream();
    void stateDidChange(pw_stream_state state, const char* error);
    void end(const std::string& reason);

    void process() noexcept; // on PipeWire's realtime thread
    void deliver(SoundSink& sink);
    void recover();
    std::string endReason() const;
    void passOn(SoundSink& sink, bool everything);

    const std::shared_ptr<PipewireSession> session_;
    const MicrophoneSearch::Found microphone_;
    PipewirePtr<pw_stream> stream_;  // used with the session's lock held
    pw_stream* streaming_ = nullptr; // the same, for process(), which goes on until it is destroyed
    PipewireListener listener_;
    std::string lossText_ = "PipeWire let go of it"; // with the session's lock held

    SoundRing ring_;
    WakeEvent wake_;
    std::atomic<bool> stopping_ = false;
    std::atomic<bool> isLost_ = false; // the stream; the reason may follow
    mutable std::mutex endMutex_;
    std::string endReason_; // guarded by the mutex; empty while the microphone lives

    // Of the thread.
    std::vector<std::int16_t> samples_; // that are not yet passed on
    std::chrono::nanoseconds time_{};   // of the first of them
    bool hasSound_ = false;             // some has come
    int attempts_ = 0;                  // to open the stream again
    std::thread thread_;
};

} // namespace tavelo
