// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/test_picture_source.h"

#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/pod/builder.h>

#include <algorithm>
#include <array>
#include <utility>

#include "support/wait_limit.h"

namespace tavelo::testing {
namespace {

constexpr std::uint32_t bufferBytes = 1U << 20U;

// Room for a frame that begins later in its buffer.
const spa_pod* buffersOf(std::span<std::uint64_t> memory) {
    spa_pod_builder builder{};
    spa_pod_frame object{};
    spa_pod_builder_init(&builder, memory.data(), std::uint32_t(memory.size_bytes()));
    spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    // Others want more than we do.
    spa_pod_frame choice{};
    spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_buffers, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Range, 0);
    for (const int count : {4, 2, 16})
        spa_pod_builder_int(&builder, count);
    spa_pod_builder_pop(&builder, &choice);
    const std::array numbers{std::pair{SPA_PARAM_BUFFERS_blocks, 1},
                             std::pair{SPA_PARAM_BUFFERS_size, int(bufferBytes)},
                             std::pair{SPA_PARAM_BUFFERS_stride, 0}};
    for (const auto& [key, value] : numbers) {
        spa_pod_builder_prop(&builder, key, 0);
        spa_pod_builder_int(&builder, value);
    }
    return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &object));
}

} // namespace

const pw_stream_events TestPictureSource::events = [] {
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char*) {
        auto* const self = static_cast<TestPictureSource*>(data);
        const std::lock_guard lock(self->mutex_);
        self->streaming_ = state == PW_STREAM_STATE_STREAMING;
        self->listed_ = state == PW_STREAM_STATE_PAUSED || self->streaming_;
        self->changed_.notify_all();
    };
    events.param_changed = [](void* data, std::uint32_t id, const spa_pod* param) {
        if (id == SPA_PARAM_Format) static_cast<TestPictureSource*>(data)->formatChanged(param);
    };
    events.process = [](void*) {};
    return events;
}();

TestPictureSource::TestPictureSource(const std::string& node, std::vector<FormatChoice> formats)
    : node_(node),
      formats_(std::move(formats)),
      session_(PipewireSession::open()) {
    const auto lock = session_->lock();
    session_->addObserver(this);
}

TestPictureSource::~TestPictureSource() {
    const auto lock = session_->lock();
    session_->removeObserver(this);
    pipewireWent();
}

void TestPictureSource::pipewireCame() noexcept {
    pw_properties* const properties = pw_properties_new(
        PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_NODE_NAME, "test-source", PW_KEY_MEDIA_ROLE, "Camera",
        PW_KEY_OBJECT_PATH, ("v4l2:" + node_).c_str(), nullptr);
    stream_.reset(pw_stream_new(session_->core(), "test", properties));
    listener_.listen(stream_.get(), events, this);
    VideoParams params;
    for (const FormatChoice& format : formats_)
        params.addFormat(format);
    const auto flags = pw_stream_flags(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS);
    pw_stream_connect(stream_.get(), PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, params.list().data(),
                      std::uint32_t(params.list().size()));
}

void TestPictureSource::pipewireWent() noexcept {
    if (stream_) pw_stream_disconnect(stream_.get());
    listener_.remove();
    stream_.reset();
}

void TestPictureSource::offer(std::vector<FormatChoice> formats) {
    const auto lock = session_->lock();
    formats_ = std::move(formats);
    VideoParams params;
    for (const FormatChoice& format : formats_)
        params.addFormat(format);
    pw_stream_update_params(stream_.get(), params.list().data(), std::uint32_t(params.list().size()));
}

void TestPictureSource::formatChanged(const spa_pod* format) {
    {
        const std::lock_guard lock(mutex_);
        format_ = format != nullptr ? frameFormatOf(format) : std::nullopt;
        changed_.notify_all();
    }
    if (format == nullptr) return;
    std::array<std::uint64_t, 64> memory{};
    VideoParams params;
    params.list().push_back(buffersOf(memory));
    params.addMeta(SPA_META_Header, sizeof(spa_meta_header));
    pw_stream_update_params(stream_.get(), params.list().data(), std::uint32_t(params.list().size()));
}

bool TestPictureSource::send(const Frame& frame) {
    const auto lock = session_->lock();
    pw_buffer* const buffer = stream_ ? pw_stream_dequeue_buffer(stream_.get()) : nullptr;
    if (buffer == nullptr) return false;
    spa_data& data = buffer->buffer->datas[0];
    std::ranges::copy(frame.bytes, static_cast<std::uint8_t*>(data.data) + frame.offset);
    data.chunk->offset = frame.offset;
    data.chunk->size = std::uint32_t(frame.bytes.size());
    data.chunk->stride = frame.stride;
    data.chunk->flags = frame.chunkFlags;
    auto* const header = static_cast<spa_meta_header*>(
        spa_buffer_find_meta_data(buffer->buffer, SPA_META_Header, sizeof(spa_meta_header)));
    if (header != nullptr) {
        header->flags = frame.headerFlags;
        header->pts = frame.time;
    }
    pw_stream_queue_buffer(stream_.get(), buffer);
    pw_stream_trigger_process(stream_.get());
    return true;
}

bool TestPictureSource::waitForStreaming(bool streaming) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, waitLimit, [&] { return streaming_ == streaming; });
}

bool TestPictureSource::waitForFormat(FrameSize size) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, waitLimit, [&] { return format_ && format_->size == size; });
}

bool TestPictureSource::waitUntilListed() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, waitLimit, [this] { return listed_; });
}

std::optional<FrameFormat> TestPictureSource::format() {
    const std::lock_guard lock(mutex_);
    return format_;
}

} // namespace tavelo::testing
