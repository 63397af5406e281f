// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/share_stream.h"

#include <spa/buffer/meta.h>
#include <spa/param/param.h>

#include <array>
#include <utility>

namespace tavelo {
namespace {

// Programs remember cameras by this name.
constexpr const char* nodeName = "tavelo-shared-picture";

std::int64_t nanoseconds(const MediaTime& time) {
    constexpr std::int64_t second = 1'000'000'000;
    if (!time.isValid() || time.timescale <= 0) return SPA_TIME_INVALID;
    return time.timescale == second ? time.value : time.value * (second / time.timescale);
}

} // namespace

// Named fields, since the structure grows with the library.
const pw_stream_events ShareStream::events = [] {
    pw_stream_events all{};
    all.version = PW_VERSION_STREAM_EVENTS;
    all.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char*) {
        static_cast<ShareStream*>(data)->stateDidChange(state);
    };
    all.param_changed = [](void* data, std::uint32_t id, const spa_pod* parameter) {
        if (id == SPA_PARAM_Format) static_cast<ShareStream*>(data)->formatDidChange(parameter);
    };
    all.remove_buffer = [](void* data, pw_buffer* buffer) {
        static_cast<ShareStream*>(data)->bufferDidGo(buffer);
    };
    return all;
}();

std::unique_ptr<ShareStream> ShareStream::make(pw_core& core, const std::string& description,
                                               const ShareOffer& offer, Changed changed) {
    std::unique_ptr<ShareStream> stream(new ShareStream(std::move(changed)));
    return stream->connect(core, description, offer) ? std::move(stream) : nullptr;
}

bool ShareStream::connect(pw_core& core, const std::string& description, const ShareOffer& offer) {
    pw_properties* const properties = pw_properties_new(
        PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_MEDIA_ROLE, "Camera", PW_KEY_NODE_NAME, nodeName,
        PW_KEY_NODE_DESCRIPTION, description.c_str(), PW_KEY_NODE_NICK, description.c_str(), nullptr);
    stream_.reset(pw_stream_new(&core, nodeName, properties)); // takes the properties
    if (!stream_) return false;
    listener_.listen(stream_.get(), events, this);
    listed_ = description;
    description_ = description;
    offer_ = offer;
    ShareParameters parameters(offer);
    const auto pods = parameters.pods();
    return pw_stream_connect(stream_.get(), PW_DIRECTION_OUTPUT, PW_ID_ANY,
                             pw_stream_flags(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS), pods.data(),
                             std::uint32_t(pods.size())) >= 0;
}

void ShareStream::setDescription(const std::string& description) {
    description_ = description;
    const std::array items{spa_dict_item{PW_KEY_NODE_DESCRIPTION, description.c_str()},
                           spa_dict_item{PW_KEY_NODE_NICK, description.c_str()}};
    const spa_dict properties{0, std::uint32_t(items.size()), items.data()};
    pw_stream_update_properties(stream_.get(), &properties);
}

void ShareStream::setOffer(const ShareOffer& offer) {
    if (offer == std::exchange(offer_, offer) && !offerWaits_) return;
    offerWaits_ = layout_.has_value();
    if (offerWaits_) return;
    ShareParameters parameters(offer_);
    const auto pods = parameters.pods();
    pw_stream_update_params(stream_.get(), pods.data(), std::uint32_t(pods.size()));
}

std::optional<SharedLayout> ShareStream::wanted() const {
    return streaming_ ? layout_ : std::nullopt;
}

void ShareStream::stateDidChange(pw_stream_state state) noexcept {
    streaming_ = state == PW_STREAM_STATE_STREAMING;
    failed_ = failed_ || state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED;
    changed_();
}

void ShareStream::formatDidChange(const spa_pod* format) noexcept {
    layout_ = format != nullptr ? layoutOf(*format) : std::nullopt;
    if (layout_) {
        ShareParameters parameters(*layout_);
        const auto pods = parameters.pods();
        pw_stream_update_params(stream_.get(), pods.data(), std::uint32_t(pods.size()));
    } else if (offerWaits_) {
        setOffer(offer_);
    }
    changed_();
}

void ShareStream::bufferDidGo(const pw_buffer* buffer) noexcept {
    if (room_ == buffer) room_ = nullptr;
}

bool ShareStream::hasRoom() {
    if (!streaming_) return false;
    if (room_ == nullptr) room_ = pw_stream_dequeue_buffer(stream_.get());
    return room_ != nullptr;
}

void ShareStream::share(const SampleBuffer& sample) {
    if (!layout_ || !hasRoom()) return;
    spa_buffer& buffer = *room_->buffer;
    spa_data& data = buffer.datas[0];
    if (data.data == nullptr || data.maxsize < layout_->bytes() ||
        !drawer_.draw(sample, *layout_, static_cast<std::uint8_t*>(data.data)))
        return;
    data.chunk->offset = 0;
    data.chunk->size = std::uint32_t(layout_->bytes());
    data.chunk->stride = std::int32_t(layout_->bytesPerRow());
    data.chunk->flags = 0;
    if (auto* const header = static_cast<spa_meta_header*>(
            spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header))))
        *header = {0, 0, nanoseconds(sample.presentationTimeStamp), 0, sequence_++};
    pw_stream_queue_buffer(stream_.get(), std::exchange(room_, nullptr));
    pw_stream_trigger_process(stream_.get());
}

} // namespace tavelo
