// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/shared_camera_viewer.h"

#include <gtest/gtest.h>
#include <spa/buffer/meta.h>
#include <spa/param/param.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <array>

namespace tavelo::testing {
namespace {

const spa_pod* anySizeOf(spa_pod_builder& builder, spa_video_format format) {
    const spa_rectangle smallest{1, 1};
    const spa_rectangle usual{640, 480};
    const spa_rectangle largest{8192, 8192};
    const spa_fraction slowest{0, 1};
    const spa_fraction common{30, 1};
    const spa_fraction fastest{1000, 1};
    return static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType,
        SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw),
        SPA_FORMAT_VIDEO_format, SPA_POD_Id(format), SPA_FORMAT_VIDEO_size,
        SPA_POD_CHOICE_RANGE_Rectangle(&usual, &smallest, &largest), SPA_FORMAT_VIDEO_framerate,
        SPA_POD_CHOICE_RANGE_Fraction(&common, &slowest, &fastest)));
}

} // namespace

const pw_stream_events SharedCameraViewer::events = [] {
    pw_stream_events all{};
    all.version = PW_VERSION_STREAM_EVENTS;
    all.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char*) {
        static_cast<SharedCameraViewer*>(data)->stateDidChange(state);
    };
    all.param_changed = [](void* data, std::uint32_t id, const spa_pod* parameter) {
        if (id == SPA_PARAM_Format) static_cast<SharedCameraViewer*>(data)->formatDidChange(parameter);
    };
    all.process = [](void* data) { static_cast<SharedCameraViewer*>(data)->process(); };
    return all;
}();

SharedCameraViewer::SharedCameraViewer(const Options& options)
    : options_(options),
      session_(PipewireSession::open()),
      holds_(options.holdsPictures) {
    const auto lock = session_->lock();
    session_->addObserver(this);
    pw_properties* const properties =
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE,
                          "Camera", PW_KEY_TARGET_OBJECT, options.target.c_str(), nullptr);
    stream_.reset(pw_stream_new(session_->core(), "viewer", properties));
    listener_.listen(stream_.get(), events, this);
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), std::uint32_t(memory.size()));
    const spa_pod* format = anySizeOf(builder, options.format);
    EXPECT_GE(pw_stream_connect(stream_.get(), PW_DIRECTION_INPUT, PW_ID_ANY,
                                pw_stream_flags(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS),
                                &format, 1),
              0);
}

SharedCameraViewer::~SharedCameraViewer() {
    const auto lock = session_->lock();
    session_->removeObserver(this);
    pipewireWent();
}

void SharedCameraViewer::pipewireWent() noexcept {
    listener_.remove();
    stream_.reset();
    held_.clear();
}

void SharedCameraViewer::stateDidChange(pw_stream_state state) {
    const std::lock_guard lock(mutex_);
    ready_ = state == PW_STREAM_STATE_STREAMING;
}

void SharedCameraViewer::formatDidChange(const spa_pod* format) {
    spa_video_info_raw info{};
    if (format == nullptr || spa_format_video_raw_parse(format, &info) < 0) return;
    {
        const std::lock_guard lock(mutex_);
        last_.width = info.size.width;
        last_.height = info.size.height;
    }
    std::array<std::uint8_t, 256> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), std::uint32_t(memory.size()));
    const spa_pod* header = static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type, SPA_POD_Id(SPA_META_Header),
        SPA_PARAM_META_size, SPA_POD_Int(int(sizeof(spa_meta_header)))));
    pw_stream_update_params(stream_.get(), &header, 1);
}

void SharedCameraViewer::process() {
    while (pw_buffer* const buffer = pw_stream_dequeue_buffer(stream_.get())) {
        const spa_data& data = buffer->buffer->datas[0];
        const auto* const header = static_cast<const spa_meta_header*>(
            spa_buffer_find_meta_data(buffer->buffer, SPA_META_Header, sizeof(spa_meta_header)));
        bool holds = false;
        {
            const std::lock_guard lock(mutex_);
            const auto* const bytes = static_cast<const std::uint8_t*>(data.data);
            last_.bytes.assign(bytes, bytes + data.chunk->size);
            last_.bytesPerRow = data.chunk->stride;
            last_.time = header != nullptr ? header->pts : 0;
            last_.marked = header != nullptr && header->flags != 0;
            ++count_;
            holds = holds_;
        }
        if (holds)
            held_.push_back(buffer);
        else
            pw_stream_queue_buffer(stream_.get(), buffer);
    }
}

bool SharedCameraViewer::isReady() const {
    const std::lock_guard lock(mutex_);
    return ready_;
}

std::size_t SharedCameraViewer::pictures() const {
    const std::lock_guard lock(mutex_);
    return count_;
}

SharedCameraViewer::Picture SharedCameraViewer::last() const {
    const std::lock_guard lock(mutex_);
    return last_;
}

void SharedCameraViewer::letGo() {
    const auto lock = session_->lock();
    {
        const std::lock_guard state(mutex_);
        holds_ = false;
    }
    for (pw_buffer* const buffer : held_)
        pw_stream_queue_buffer(stream_.get(), buffer);
    held_.clear();
}

} // namespace tavelo::testing
