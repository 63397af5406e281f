// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/microphone_search.h"

#include <utility>

#include "platform/linux/pipewire/usb_place.h"

namespace tavelo {
namespace {

bool isMicrophone(const PipewireObject& object) {
    // "Audio/Source/Virtual" too, but no monitor of a loudspeaker: that is no node of its own.
    const std::string kind = object.property(PW_KEY_MEDIA_CLASS);
    return object.kind == PipewireObject::Kind::node &&
           (kind == "Audio/Source" || kind.starts_with("Audio/Source/") || kind == "Audio/Duplex");
}

bool isSoundCard(const PipewireObject& object) {
    return object.kind == PipewireObject::Kind::device &&
           object.property(PW_KEY_MEDIA_CLASS) == "Audio/Device";
}

} // namespace

/// A node or a sound card, with what it tells who asks.
struct MicrophoneSearch::Object {
    explicit Object(PipewireObject known) : object(std::move(known)) {}

    void add(const spa_dict* properties) {
        const spa_dict_item* item = nullptr;
        if (properties == nullptr) return;
        spa_dict_for_each(item, properties) {
            if (item->key != nullptr && item->value != nullptr)
                object.properties.insert_or_assign(item->key, item->value);
        }
    }

    static const pw_node_events nodeEvents;
    static const pw_device_events deviceEvents;

    PipewireObject object;
    PipewirePtr<pw_proxy> proxy;
    PipewireListener listener; // destroyed before what it listens to
};

const pw_node_events MicrophoneSearch::Object::nodeEvents = [] {
    pw_node_events events{};
    events.version = PW_VERSION_NODE_EVENTS;
    events.info = [](void* data, const pw_node_info* info) { static_cast<Object*>(data)->add(info->props); };
    return events;
}();

const pw_device_events MicrophoneSearch::Object::deviceEvents = [] {
    pw_device_events events{};
    events.version = PW_VERSION_DEVICE_EVENTS;
    events.info = [](void* data, const pw_device_info* info) {
        static_cast<Object*>(data)->add(info->props);
    };
    return events;
}();

MicrophoneSearch::MicrophoneSearch(std::shared_ptr<PipewireSession> session) : session_(std::move(session)) {}

MicrophoneSearch::~MicrophoneSearch() {
    const auto lock = session_->lock();
    session_->removeObserver(this);
    core_.remove();
    objects_.clear();
}

std::optional<std::vector<MicrophoneSearch::Found>> MicrophoneSearch::find(
    std::chrono::milliseconds patience) {
    std::future<bool> complete = complete_.get_future();
    {
        const auto lock = session_->lock();
        if (session_->state() == PipewireSession::State::away) return std::nullopt;
        session_->addObserver(this);
    }
    if (complete.wait_for(patience) != std::future_status::ready || !complete.get()) return std::nullopt;
    const auto lock = session_->lock();
    return found();
}

void MicrophoneSearch::pipewireObjectCame(const PipewireObject& object) noexcept {
    const bool isNode = isMicrophone(object);
    if (isFinished_ || (!isNode && !isSoundCard(object))) return;
    Object& added = objects_.emplace_back(object);
    pw_registry* const registry = session_->registry();
    if (isNode) {
        added.proxy = bindPipewire(registry, object.id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE);
        if (added.proxy)
            added.listener.listen(reinterpret_cast<pw_node*>(added.proxy.get()), Object::nodeEvents, &added);
    } else {
        added.proxy = bindPipewire(registry, object.id, PW_TYPE_INTERFACE_Device, PW_VERSION_DEVICE);
        if (added.proxy)
            added.listener.listen(reinterpret_cast<pw_device*>(added.proxy.get()), Object::deviceEvents,
                                  &added);
    }
}

void MicrophoneSearch::pipewireCame() noexcept {
    static const pw_core_events events = [] {
        pw_core_events made{};
        made.version = PW_VERSION_CORE_EVENTS;
        made.done = [](void* data, std::uint32_t id, int number) {
            auto* const self = static_cast<MicrophoneSearch*>(data);
            if (id == PW_ID_CORE && number == self->lastAnswer_) self->finish(true);
        };
        return made;
    }();
    core_.listen(session_->core(), events, this);
    lastAnswer_ = syncPipewire(session_->core());
}

void MicrophoneSearch::pipewireWent() noexcept {
    core_.remove();
    objects_.clear();
    finish(false);
}

void MicrophoneSearch::finish(bool complete) {
    if (!std::exchange(isFinished_, true)) complete_.set_value(complete);
}

std::vector<MicrophoneSearch::Found> MicrophoneSearch::found() const {
    std::map<std::string, const PipewireObject*> cards;
    for (const Object& each : objects_)
        if (each.object.kind == PipewireObject::Kind::device)
            cards.emplace(std::to_string(each.object.id), &each.object);
    std::vector<Found> result;
    for (const Object& each : objects_) {
        if (each.object.kind != PipewireObject::Kind::node) continue;
        const PipewireObject& node = each.object;
        Microphone microphone{node.property(PW_KEY_NODE_NAME), node.property(PW_KEY_NODE_DESCRIPTION),
                              usbPlaceOf(node.properties)};
        if (microphone.description.empty()) microphone.description = microphone.name;
        const auto card = cards.find(node.property(PW_KEY_DEVICE_ID));
        if (microphone.place.empty() && card != cards.end())
            microphone.place = usbPlaceOf(card->second->properties);
        result.push_back({std::move(microphone), node.id, node.serial});
    }
    return result;
}

} // namespace tavelo
