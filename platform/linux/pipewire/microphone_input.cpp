// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/microphone_input.h"

#include <pthread.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace tavelo {
namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t rate = 48000;
constexpr std::uint32_t channels = 2;
// A larger piece is passed on; how the daemon cuts the sound depends on what other programs ask for.
constexpr std::size_t pieceSamples = std::size_t{2048} * channels;
// Longer than the thread that takes the sound ever waits for the processor.
constexpr std::size_t ringSamples = std::size_t{4} * rate * channels;
constexpr std::size_t ringPieces = 1024;
// A piece that is further from the end of the one before does not belong to it.
constexpr auto seam = 5ms;
constexpr std::size_t mostBuffers = 16;
// A stream ends before the daemon says why, such as a microphone that was unplugged.
constexpr auto timeForAReason = 200ms;
// The session manager refuses a microphone that it has heard of but not yet made ready.
constexpr int mostAttempts = 10;

std::chrono::nanoseconds lengthOf(std::size_t samples) {
    return std::chrono::nanoseconds(std::int64_t(samples / channels) * std::nano::den / rate);
}

// Until the first sample of what the stream has now was captured.
std::chrono::nanoseconds captureTime(pw_stream* stream) {
    pw_time time{};
    if (pw_stream_get_time_n(stream, &time, sizeof time) < 0 || time.rate.denom == 0) return {};
    const std::int64_t delay = time.delay * std::nano::den * time.rate.num / time.rate.denom;
    return std::chrono::nanoseconds(time.now - delay) - lengthOf(std::size_t(time.buffered) * channels);
}

std::span<const std::int16_t> samplesOf(const pw_buffer& buffer) {
    const spa_data& data = buffer.buffer->datas[0];
    if (buffer.buffer->n_datas == 0 || data.data == nullptr || data.chunk == nullptr) return {};
    const std::uint32_t offset = std::min(data.chunk->offset, data.maxsize);
    const std::uint32_t size = std::min(data.chunk->size, data.maxsize - offset);
    const auto* const first =
        reinterpret_cast<const std::int16_t*>(static_cast<const std::byte*>(data.data) + offset);
    const std::size_t count = size / sizeof(std::int16_t);
    return {first, count - count % channels};
}

pw_properties* streamProperties(const MicrophoneSearch::Found& microphone) {
    return pw_properties_new(
        PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE, "Production",
        PW_KEY_NODE_NAME, "tavelo-movie-sound", PW_KEY_NODE_DESCRIPTION, "Tavelo Control Panel",
        PW_KEY_TARGET_OBJECT, std::to_string(microphone.serial).c_str(), PW_KEY_NODE_LATENCY, "1024/48000",
        // The user chose this microphone: no other one takes its place, nor one that was remembered.
        "node.dont-fallback", "true", "state.restore-target", "false", nullptr);
}

} // namespace

const pw_stream_events MicrophoneInput::streamEvents = [] {
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char* error) {
        static_cast<MicrophoneInput*>(data)->stateDidChange(state, error);
    };
    events.process = [](void* data) { static_cast<MicrophoneInput*>(data)->process(); };
    return events;
}();

MicrophoneInput::MicrophoneInput(std::shared_ptr<PipewireSession> session, MicrophoneSearch::Found microphone)
    : session_(std::move(session)),
      microphone_(std::move(microphone)),
      ring_(ringSamples, ringPieces) {}

MicrophoneInput::~MicrophoneInput() {
    stop();
}

AudioSettings MicrophoneInput::settings() const {
    return {rate, channels, {}};
}

void MicrophoneInput::start(SoundSink& sink) {
    if (thread_.joinable()) return;
    stopping_ = false;
    thread_ = std::thread([this, &sink] { deliver(sink); });
    const auto lock = session_->lock();
    session_->addObserver(this);
    openStream();
}

void MicrophoneInput::stop() {
    if (!thread_.joinable()) return;
    stopping_ = true;
    {
        const auto lock = session_->lock();
        session_->removeObserver(this);
        closeStream();
    }
    wake_.set();
    thread_.join();
}

void MicrophoneInput::openStream() {
    if (session_->core() == nullptr) return end("PipeWire has ended");
    stream_.reset(pw_stream_new(session_->core(), "Movie", streamProperties(microphone_)));
    if (!stream_) return end("PipeWire makes no stream");
    streaming_ = stream_.get();
    listener_.listen(stream_.get(), streamEvents, this);
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_S16;
    format.rate = rate;
    format.channels = channels;
    format.position[0] = SPA_AUDIO_CHANNEL_FL;
    format.position[1] = SPA_AUDIO_CHANNEL_FR;
    std::array<std::byte, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
    const auto flags = pw_stream_flags(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                       PW_STREAM_FLAG_RT_PROCESS | PW_STREAM_FLAG_DONT_RECONNECT);
    if (pw_stream_connect(stream_.get(), PW_DIRECTION_INPUT, PW_ID_ANY, flags, &parameter, 1) < 0)
        end("PipeWire does not connect it");
}

void MicrophoneInput::closeStream() {
    listener_.remove();
    stream_.reset(); // process() may run until then
    streaming_ = nullptr;
}

void MicrophoneInput::stateDidChange(pw_stream_state state, const char* error) {
    if (state != PW_STREAM_STATE_ERROR && state != PW_STREAM_STATE_UNCONNECTED) return;
    if (error != nullptr) lossText_ = std::string("PipeWire does not deliver it: ") + error;
    isLost_ = true;
    wake_.set();
}

void MicrophoneInput::pipewireObjectWent(const PipewireObject& object) noexcept {
    if (object.kind == PipewireObject::Kind::node && object.id == microphone_.id) end("it was unplugged");
}

void MicrophoneInput::pipewireWent() noexcept {
    end("PipeWire has ended");
    closeStream();
}

void MicrophoneInput::end(const std::string& reason) {
    {
        const std::lock_guard lock(endMutex_);
        if (!endReason_.empty()) return; // the first reason is the cause
        endReason_ = "the microphone " + microphone_.microphone.description + ": " + reason;
    }
    wake_.set();
}

void MicrophoneInput::process() noexcept {
    std::array<pw_buffer*, mostBuffers> buffers{};
    std::size_t count = 0;
    std::size_t samples = 0;
    while (count < mostBuffers && (buffers[count] = pw_stream_dequeue_buffer(streaming_)) != nullptr)
        samples += samplesOf(*buffers[count++]).size();
    if (count == 0) return;
    // The time is that of the last buffer.
    auto time = captureTime(streaming_) + lengthOf(samplesOf(*buffers[count - 1]).size()) - lengthOf(samples);
    for (std::size_t i = 0; i < count; ++i) {
        const auto piece = samplesOf(*buffers[i]);
        if (!piece.empty()) ring_.put(time, piece); // a full ring leaves a gap, which becomes silence
        time += lengthOf(piece.size());
        pw_stream_queue_buffer(streaming_, buffers[i]);
    }
    wake_.set();
}

void MicrophoneInput::deliver(SoundSink& sink) {
    ::pthread_setname_np(::pthread_self(), "sound");
    bool ended = false;
    while (!stopping_) {
        wake_.waitFor(1h);
        wake_.clear();
        const std::string reason = endReason();
        passOn(sink, !reason.empty());
        if (!reason.empty() && !std::exchange(ended, true)) {
            sink.didEnd({ErrorCode::gone, reason});
            const auto lock = session_->lock();
            closeStream(); // the session manager might link it with another microphone
        }
        if (isLost_.exchange(false) && !ended) recover();
    }
}

void MicrophoneInput::recover() {
    wake_.waitFor(timeForAReason);
    const auto lock = session_->lock();
    if (stopping_ || !endReason().empty()) return;
    if (hasSound_ || ++attempts_ > mostAttempts) return end(lossText_);
    closeStream();
    openStream();
}

std::string MicrophoneInput::endReason() const {
    const std::lock_guard lock(endMutex_);
    return endReason_;
}

void MicrophoneInput::passOn(SoundSink& sink, bool everything) {
    const auto pass = [&] {
        if (samples_.empty()) return;
        auto sound = std::make_shared<AudioBuffer>();
        sound->sampleRate = rate;
        sound->channels = channels;
        sound->samples = std::exchange(samples_, {});
        sink.consume({nullptr, MediaTime::fromNanoseconds(time_), std::move(sound)});
    };
    std::vector<std::int16_t> next;
    while (const auto time = ring_.take(next)) {
        if (samples_.empty() || std::chrono::abs(*time - time_ - lengthOf(samples_.size())) > seam) {
            pass();
            time_ = *time;
        }
        hasSound_ = true;
        samples_.insert(samples_.end(), next.begin(), next.end());
        next.clear();
        if (samples_.size() >= pieceSamples) pass();
    }
    if (everything) pass();
}

} // namespace tavelo
