// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/node_formats.h"

#include <utility>

#include "platform/linux/pipewire/video_params.h"

namespace tavelo {
namespace {

// More than any camera has; bounds what a node may tell.
constexpr std::size_t mostModes = 4096;

} // namespace

const pw_core_events NodeFormats::coreEvents = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.done = [](void* data, std::uint32_t id, int number) {
        auto* const self = static_cast<NodeFormats*>(data);
        if (id != PW_ID_CORE || number != self->last_) return;
        self->answer_(self->modes_);
    };
    return events;
}();

const pw_node_events NodeFormats::nodeEvents = [] {
    pw_node_events events{};
    events.version = PW_VERSION_NODE_EVENTS;
    events.param = [](void* data, int, std::uint32_t id, std::uint32_t, std::uint32_t, const spa_pod* entry) {
        auto* const self = static_cast<NodeFormats*>(data);
        if (id == SPA_PARAM_EnumFormat && entry != nullptr && self->modes_.size() < mostModes)
            addOfferedModes(entry, self->request_, self->modes_);
    };
    return events;
}();

NodeFormats::NodeFormats(PipewireSession& session, std::uint32_t node, CaptureFormatRequest request,
                         Answer answer)
    : request_(std::move(request)),
      answer_(std::move(answer)),
      node_(bindPipewire(session.registry(), node, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE)) {
    if (node_) {
        auto* const bound = reinterpret_cast<pw_node*>(node_.get());
        nodeListener_.listen(bound, nodeEvents, this);
        askForParams(bound, SPA_PARAM_EnumFormat);
    }
    coreListener_.listen(session.core(), coreEvents, this);
    last_ = syncPipewire(session.core());
}

} // namespace tavelo
