// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/burst_microphone.h"

#include <gtest/gtest.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace tavelo::testing {
namespace {

constexpr std::uint32_t rate = 48000;
constexpr std::int64_t second = std::nano::den;

} // namespace

const pw_stream_events BurstMicrophone::streamEvents = [] {
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.process = [](void* data) { static_cast<BurstMicrophone*>(data)->process(); };
    return events;
}();

BurstMicrophone::BurstMicrophone(const std::string& name, const Properties& properties)
    : session_(PipewireSession::open()) {
    const auto lock = session_->lock();
    EXPECT_NE(session_->core(), nullptr);
    session_->addObserver(this);
    pw_properties* const all =
        pw_properties_new(PW_KEY_MEDIA_CLASS, "Audio/Source", PW_KEY_NODE_NAME, name.c_str(), nullptr);
    for (const auto& [key, value] : properties)
        pw_properties_set(all, key.c_str(), value.c_str());
    stream_.reset(pw_stream_new(session_->core(), name.c_str(), all));
    streaming_ = stream_.get();
    listener_.listen(streaming_, streamEvents, this);
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = rate;
    format.channels = 1;
    format.position[0] = SPA_AUDIO_CHANNEL_MONO;
    std::array<std::byte, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
    const auto flags = pw_stream_flags(PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS);
    EXPECT_EQ(pw_stream_connect(streaming_, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, &parameter, 1), 0);
}

BurstMicrophone::~BurstMicrophone() {
    const auto lock = session_->lock();
    session_->removeObserver(this);
    BurstMicrophone::pipewireWent();
}

void BurstMicrophone::pipewireWent() noexcept {
    listener_.remove();
    stream_.reset();
}

void BurstMicrophone::process() noexcept {
    pw_buffer* const buffer = pw_stream_dequeue_buffer(streaming_);
    if (buffer == nullptr) return;
    pw_time time{};
    pw_stream_get_time_n(streaming_, &time, sizeof time);
    spa_data& data = buffer->buffer->datas[0];
    auto* const samples = static_cast<float*>(data.data);
    std::size_t frames = data.maxsize / sizeof(float);
    if (buffer->requested > 0) frames = std::min(frames, std::size_t(buffer->requested));
    for (std::size_t i = 0; i < frames; ++i) {
        const std::int64_t at = time.now + std::int64_t(i) * second / rate;
        const double inSecond = double(at % second) / second;
        samples[i] =
            inSecond < burst ? float(loudness * std::sin(2 * std::numbers::pi * pitch * inSecond)) : 0.0F;
    }
    data.chunk->offset = 0;
    data.chunk->stride = sizeof(float);
    data.chunk->size = std::uint32_t(frames * sizeof(float));
    pw_stream_queue_buffer(streaming_, buffer);
}

} // namespace tavelo::testing
