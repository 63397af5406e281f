// SPDX-License-Identifier: MIT
#include "app/recording_sound.h"

#include <cstddef>
#include <utility>

namespace tavelo {
namespace {

// Of sound from before the first picture, which reaches the recorder later than its sound.
constexpr std::size_t mostHeld = 64;
// Pieces that wait for the render queue: some seconds.  A gap in the times becomes silence.
constexpr int mostQueued = 256;

} // namespace

struct RecordingSound::Track {
    void hold(const SampleBuffer& sound) {
        if (held.size() == mostHeld) held.pop_front();
        held.push_back(sound);
    }

    void record(const SampleBuffer& sound) {
        if (recorder->isRecording() && recorder->isFirstSample()) return hold(sound);
        for (const SampleBuffer& earlier : std::exchange(held, {}))
            recorder->recordSampleBuffer(earlier);
        recorder->recordSampleBuffer(sound);
    }

    std::shared_ptr<KTAssetWriterManager> recorder;
    std::deque<SampleBuffer> held;
    std::atomic<int> queued = 0;
};

RecordingSound::RecordingSound(Request request)
    : request_(std::move(request)),
      track_(std::make_shared<Track>()) {
    if (request_.choice.kind == SoundChoice::Kind::off) return;
    isOpening_ = true;
    opening_.async([this] {
        open();
        isOpening_ = false;
    });
}

RecordingSound::~RecordingSound() {
    end();
}

void RecordingSound::open() {
    Error error{ErrorCode::failed, "no sound can be recorded here"};
    std::unique_ptr<SoundInput> input;
    if (request_.platform) {
        error = {};
        const auto microphones = request_.platform->microphones(error);
        if (error.code == ErrorCode::none) {
            const auto chosen = chooseMicrophone(microphones, request_.choice, request_.cameraPlace, error);
            if (chosen) input = request_.platform->open(*chosen, error);
        }
    }
    {
        const std::lock_guard lock(mutex_);
        if (!input) error_ = error;
        input_ = std::move(input);
    }
    if (input_) input_->start(*this);
}

Error RecordingSound::error() const {
    const std::lock_guard lock(mutex_);
    return error_;
}

std::optional<AudioSettings> RecordingSound::settings() const {
    const std::lock_guard lock(mutex_);
    return input_ ? std::optional(input_->settings()) : std::nullopt;
}

void RecordingSound::begin(SerialQueue& renderQueue, std::shared_ptr<KTAssetWriterManager> recorder) {
    const std::lock_guard lock(mutex_);
    track_->recorder = std::move(recorder);
    renderQueue_ = &renderQueue;
}

void RecordingSound::end() {
    // A microphone that is still being opened is started there.
    opening_.sync([] {});
    if (input_) input_->stop();
    const std::lock_guard lock(mutex_);
    renderQueue_ = nullptr;
}

std::string RecordingSound::lossReason() const {
    const std::lock_guard lock(mutex_);
    if (input_ && !hasSound_ && lossReason_.empty()) return "no sound came from the microphone";
    return lossReason_;
}

void RecordingSound::consume(const SampleBuffer& sound) {
    const std::lock_guard lock(mutex_);
    hasSound_ = true;
    if (renderQueue_ == nullptr) return track_->hold(sound);
    if (track_->queued >= mostQueued) return;
    ++track_->queued;
    // Small enough for a task that needs no memory of its own.
    renderQueue_->async([track = track_, buffer = sound.audioBuffer, time = sound.presentationTimeStamp] {
        --track->queued;
        track->record({nullptr, time, buffer});
    });
}

void RecordingSound::didEnd(const Error& reason) {
    const std::lock_guard lock(mutex_);
    lossReason_ = reason.text;
}

} // namespace tavelo
