// SPDX-License-Identifier: MIT
// Sound from microphones.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/asset_writer.h"
#include "platform/capture.h"
#include "platform/error.h"

namespace tavelo {

struct Microphone {
    std::string name;        ///< the system's, unique
    std::string description; ///< for people
    std::string place;       ///< where its device is plugged in, as CaptureDevice::place(); empty if unknown
};

/// Receives the sound of a running input.  Called on the input's own thread.
class SoundSink {
public:
    virtual ~SoundSink() = default;

    /// A piece of sound, and the time when its first frame was captured, on the clock of the cameras' frames.
    /// Times jitter; a time later than the end of the piece before is a gap.
    virtual void consume(const SampleBuffer& sound) = 0;

    /// The microphone is gone, and no sound follows.  Called at most once.
    virtual void didEnd(const Error& reason) = 0;
};

/// A microphone that is opened.  Not thread-safe.
class SoundInput {
public:
    virtual ~SoundInput() = default;

    /// Of all its sound.
    virtual AudioSettings settings() const = 0;

    /// Returns before the first sound.
    virtual void start(SoundSink& sink) = 0;
    /// When it returns, no call of the sink is in progress and none follows.  May be called when stopped.
    virtual void stop() = 0;
};

/// The microphones of this machine.  Thread-safe.
class SoundPlatform {
public:
    virtual ~SoundPlatform() = default;

    /// Whether it is worth asking for microphones.  Takes microseconds.
    virtual bool mayHaveMicrophones() const = 0;

    // These wait for the system's service, a few seconds at most.

    /// Empty with `error` set if they cannot be listed.
    virtual std::vector<Microphone> microphones(Error& error) = 0;
    /// Null with `error` set if it cannot be opened.
    virtual std::unique_ptr<SoundInput> open(const Microphone& microphone, Error& error) = 0;
};

} // namespace tavelo
