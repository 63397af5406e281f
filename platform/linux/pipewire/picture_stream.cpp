// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/picture_stream.h"

#include <spa/buffer/meta.h>

#include <utility>

namespace tavelo {
namespace {

pw_properties* propertiesFor(std::uint64_t target) {
    pw_properties* const properties =
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE,
                          "Camera", PW_KEY_NODE_NAME, "tavelo-control-panel", nullptr);
    pw_properties_set(properties, PW_KEY_TARGET_OBJECT, std::to_string(target).c_str());
    return properties;
}

} // namespace

const pw_stream_events PipewirePictureStream::streamEvents = [] {
    using Self = PipewirePictureStream;
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char* error) {
        static_cast<Self*>(data)->stateChanged(state, error);
    };
    events.param_changed = [](void* data, std::uint32_t id, const spa_pod* param) {
        if (id == SPA_PARAM_Format) static_cast<Self*>(data)->formatChanged(param);
    };
    events.add_buffer = [](void* data, pw_buffer* buffer) { static_cast<Self*>(data)->bufferCame(buffer); };
    events.remove_buffer = [](void* data, pw_buffer* buffer) {
        static_cast<Self*>(data)->bufferGoes(buffer);
    };
    events.process = [](void* data) { static_cast<Self*>(data)->framesCame(); };
    return events;
}();

PipewirePictureStream::PipewirePictureStream(PipewireSession& session, std::uint64_t target,
                                             VideoParams& formats, Events events)
    : events_(std::move(events)),
      stream_(pw_stream_new(session.core(), "camera", propertiesFor(target))) {
    if (!stream_) {
        end("no memory");
        return;
    }
    listener_.listen(stream_.get(), streamEvents, this);
    // Its own thread calls process(), which only moves buffers.
    const auto flags = pw_stream_flags(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_DONT_RECONNECT |
                                       PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS);
    auto& list = formats.list();
    if (pw_stream_connect(stream_.get(), PW_DIRECTION_INPUT, PW_ID_ANY, flags, list.data(),
                          std::uint32_t(list.size())) != 0)
        end("the stream cannot be connected");
}

PipewirePictureStream::~PipewirePictureStream() {
    release();
}

void PipewirePictureStream::release() {
    {
        std::unique_lock lock(mutex_);
        released_ = true;
        givenBack_.wait(lock, [this] { return taken_ == nullptr; });
        waiting_ = nullptr;
    }
    if (!stream_) return;
    pw_stream_disconnect(stream_.get()); // the last call of framesCame() has returned
    listener_.remove();
    stream_.reset();
    dmaMemory_.clear();
}

std::string PipewirePictureStream::why() const {
    const std::lock_guard lock(mutex_);
    return why_;
}

void PipewirePictureStream::end(const std::string& why) {
    {
        const std::lock_guard lock(mutex_);
        if (state_ == State::ended) return;
        why_ = why;
    }
    state_ = State::ended;
    events_.stateChanged();
}

void PipewirePictureStream::stateChanged(pw_stream_state state, const char* error) {
    if (state == PW_STREAM_STATE_ERROR) return end(error != nullptr ? error : "the stream failed");
    if (state == PW_STREAM_STATE_UNCONNECTED) return end("the stream was disconnected");
    if (state != PW_STREAM_STATE_STREAMING || state_ != State::starting) return;
    state_ = State::streaming;
    events_.stateChanged();
}

void PipewirePictureStream::formatChanged(const spa_pod* format) {
    const auto understood = format != nullptr ? frameFormatOf(format) : std::nullopt;
    {
        const std::lock_guard lock(mutex_);
        format_ = understood;
    }
    if (format == nullptr) return;
    if (!understood) return end("the format cannot be shown");
    VideoParams params;
    params.addBuffers();
    params.addMeta(SPA_META_Header, sizeof(spa_meta_header));
    // Keeps a source that knows it from filling a buffer that we read.
    params.addMeta(SPA_META_Busy, sizeof(spa_meta_busy));
    auto& list = params.list();
    pw_stream_update_params(stream_.get(), list.data(), std::uint32_t(list.size()));
}

void PipewirePictureStream::bufferCame(pw_buffer* buffer) {
    const spa_buffer& content = *buffer->buffer;
    if (content.n_datas == 0) return;
    const spa_data& data = content.datas[0];
    if (data.type != SPA_DATA_DmaBuf || data.data != nullptr) return;
    DmaMemory memory(data);
    const std::lock_guard lock(mutex_);
    dmaMemory_[buffer] = std::move(memory);
}

void PipewirePictureStream::bufferGoes(pw_buffer* buffer) {
    std::unique_lock lock(mutex_);
    if (waiting_ == buffer) waiting_ = nullptr;
    givenBack_.wait(lock, [&] { return taken_ != buffer; });
    dmaMemory_.erase(buffer);
}

void PipewirePictureStream::framesCame() {
    {
        const std::lock_guard lock(mutex_);
        if (released_) return;
        bool came = false;
        while (pw_buffer* const next = pw_stream_dequeue_buffer(stream_.get())) {
            if (waiting_ != nullptr) pw_stream_queue_buffer(stream_.get(), waiting_);
            waiting_ = next;
            came = true;
        }
        if (!came) return;
    }
    events_.frameCame();
}

bool PipewirePictureStream::take(SharedCamera::Frame& frame) {
    const std::lock_guard lock(mutex_);
    if (waiting_ == nullptr || taken_ != nullptr || released_ || !format_) return false;
    taken_ = std::exchange(waiting_, nullptr);
    const spa_buffer& buffer = *taken_->buffer;
    const auto dma = dmaMemory_.find(taken_);
    if (buffer.n_datas > 0) beginReading(buffer.datas[0]);
    const BufferFrame content = frameIn(buffer, dma != dmaMemory_.end() ? &dma->second : nullptr);
    frame = {content.bytes, *format_, content.time, content.damaged};
    frame.format.bytesPerLine = content.stride;
    return true;
}

void PipewirePictureStream::giveBack() {
    const std::lock_guard lock(mutex_);
    if (taken_ == nullptr) return;
    const spa_buffer& buffer = *taken_->buffer;
    if (buffer.n_datas > 0) endReading(buffer.datas[0]);
    pw_stream_queue_buffer(stream_.get(), taken_);
    taken_ = nullptr;
    givenBack_.notify_all();
}

} // namespace tavelo
