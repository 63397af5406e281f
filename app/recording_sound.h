// SPDX-License-Identifier: MIT
// The sound of one movie.
#pragma once

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/common/microphone_choice.h"
#include "platform/serial_queue.h"
#include "platform/sound_source.h"
#include "video/kt_asset_writer_manager.h"

namespace tavelo {

/// Opens the microphone on a thread of its own and hands its sound to the recorder.  A microphone that is
/// gone leaves a movie that is silent from there on.
///
///     opening --> ready --begin()--> recording --end()--> ready
///             --> without sound
///
/// Main thread.
class RecordingSound final : private SoundSink {
public:
    struct Request {
        std::shared_ptr<SoundPlatform> platform; ///< null: there is no sound here
        SoundChoice choice;
        std::string cameraPlace; ///< see CaptureDevice::place()
    };

    /// Begins to open the microphone, if one is chosen.
    explicit RecordingSound(Request request);
    /// Waits for a microphone that is being opened, a few seconds at most.
    ~RecordingSound() override;

    RecordingSound(const RecordingSound&) = delete;
    RecordingSound& operator=(const RecordingSound&) = delete;

    bool isOpening() const { return isOpening_; }
    /// Why there is no sound although it was chosen; no code if there is.  Once it is no longer opening.
    Error error() const;
    /// Whether a movie without sound is not what the user wants.
    bool isRequired() const { return request_.choice.kind == SoundChoice::Kind::named; }
    /// Of the movie's sound track, which is absent without sound.
    std::optional<AudioSettings> settings() const;

    /// Call it after the recorder was started on the queue.
    void begin(SerialQueue& renderQueue, std::shared_ptr<KTAssetWriterManager> recorder);
    /// Lets go of queue and recorder.  May be called at any time.
    void end();

    /// Why the movie lacks sound that was to be there; empty if it does not.
    std::string lossReason() const;

private:
    /// Used on the render queue once the recording has begun.
    struct Track;

    void consume(const SampleBuffer& sound) override;
    void didEnd(const Error& reason) override;
    void open();

    const Request request_;
    const std::shared_ptr<Track> track_;

    mutable std::mutex mutex_; // guards the members up to the blank line, and the track until begin()
    Error error_;
    bool hasSound_ = false; // some has come
    std::string lossReason_;
    SerialQueue* renderQueue_ = nullptr;

    std::atomic<bool> isOpening_ = false;
    std::unique_ptr<SoundInput> input_; // made while opening
    SerialQueue opening_{"kt.sound"};   // last: it uses everything above
};

} // namespace tavelo
