// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/pipewire_session.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/linux/pipewire/module/pipewire_socket.h"

namespace tavelo {
namespace {

// Until a daemon that died is looked for again: session managers start it within a second.
constexpr std::chrono::milliseconds retryTime{250};
// Until a user who was asked may have answered.
constexpr std::chrono::milliseconds askTime{1000};

pw_properties* whoWeAre() {
    return pw_properties_new(PW_KEY_APP_NAME, "Tavelo Control Panel", PW_KEY_APP_ID,
                             "org.tavelo.ControlPanel", PW_KEY_APP_ICON_NAME, "org.tavelo.ControlPanel",
                             // The library would load the bus's for a service that we ask ourselves.
                             "support.dbus", "false", nullptr);
}

std::optional<PipewireObject::Kind> kindOf(std::string_view type) {
    if (type == PW_TYPE_INTERFACE_Node) return PipewireObject::Kind::node;
    if (type == PW_TYPE_INTERFACE_Device) return PipewireObject::Kind::device;
    if (type == PW_TYPE_INTERFACE_Link) return PipewireObject::Kind::link;
    return std::nullopt;
}

PipewireObject objectOf(std::uint32_t id, PipewireObject::Kind kind, const spa_dict* properties) {
    PipewireObject object{kind, id, 0, {}};
    for (std::uint32_t index = 0; properties != nullptr && index < properties->n_items; ++index) {
        const spa_dict_item& item = properties->items[index];
        if (item.key != nullptr && item.value != nullptr) object.properties.emplace(item.key, item.value);
    }
    const std::string serial = object.property(PW_KEY_OBJECT_SERIAL);
    std::from_chars(serial.data(), serial.data() + serial.size(), object.serial);
    return object;
}

} // namespace

std::string PipewireObject::property(const char* name) const {
    const auto found = properties.find(name);
    return found != properties.end() ? found->second : std::string();
}

const pw_core_events PipewireSession::coreEvents = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.done = [](void* data, std::uint32_t id, int number) {
        auto* const self = static_cast<PipewireSession*>(data);
        if (id != PW_ID_CORE || number != self->listing_ || self->state_ != State::listing) return;
        self->state_ = State::listed;
        self->tell([](PipewireObserver& observer) { observer.pipewireCame(); });
    };
    events.error = [](void* data, std::uint32_t id, int, int error, const char*) {
        if (id == PW_ID_CORE && error == -EPIPE) static_cast<PipewireSession*>(data)->lost_.signal();
    };
    return events;
}();

const pw_registry_events PipewireSession::registryEvents = [] {
    pw_registry_events events{};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global = [](void* data, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                       const spa_dict* properties) {
        static_cast<PipewireSession*>(data)->addObject(id, type, properties);
    };
    events.global_remove = [](void* data, std::uint32_t id) {
        static_cast<PipewireSession*>(data)->removeObject(id);
    };
    return events;
}();

PipewireSession::PipewireSession(AskForPipewire ask) : ask_(std::move(ask)) {}

std::shared_ptr<PipewireSession> PipewireSession::open(AskForPipewire ask) {
    std::shared_ptr<PipewireSession> session(new PipewireSession(std::move(ask)));
    return session->start() ? session : nullptr;
}

bool PipewireSession::start() {
    loop_.reset(pw_thread_loop_new("pipewire", nullptr));
    if (!loop_) return false;
    context_.reset(pw_context_new(loop(), whoWeAre(), 0));
    if (!context_) return false;
    lost_ = PipewireSource::event(
        loop(), [](void* data, std::uint64_t) { static_cast<PipewireSession*>(data)->lose(); }, this);
    retry_ = PipewireSource::timer(
        loop(), [](void* data, std::uint64_t) { static_cast<PipewireSession*>(data)->connect(); }, this);
    connect();
    return pw_thread_loop_start(loop_.get()) == 0;
}

PipewireSession::~PipewireSession() {
    if (loop_) pw_thread_loop_stop(loop_.get());
}

pw_registry* PipewireSession::registry() const {
    return reinterpret_cast<pw_registry*>(registry_.get());
}

void PipewireSession::connect() {
    bool refused = false;
    if (ask_) {
        PipewireGrant grant = ask_();
        refused = grant.refused;
        // The library closes it.
        if (grant.remote.isOpen())
            core_.reset(pw_context_connect_fd(context_.get(), grant.remote.release(), nullptr, 0));
    } else if (pipewireMayRun()) {
        core_.reset(pw_context_connect(context_.get(), nullptr, 0));
    }
    if (core_)
        registry_.reset(
            reinterpret_cast<pw_proxy*>(pw_core_get_registry(core_.get(), PW_VERSION_REGISTRY, 0)));
    if (!registry_) {
        core_.reset();
        retry_.fireAfter(ask_ ? askTime : retryTime);
        if (std::exchange(refused_, refused) != refused)
            tell([](PipewireObserver& observer) { observer.pipewireRefusalChanged(); });
        return;
    }
    refused_ = false;
    state_ = State::listing;
    coreListener_.listen(core_.get(), coreEvents, this);
    registryListener_.listen(registry(), registryEvents, this);
    listing_ = syncPipewire(core_.get());
}

void PipewireSession::lose() {
    if (!core_) return;
    state_ = State::away;
    objects_.clear();
    tell([](PipewireObserver& observer) { observer.pipewireWent(); });
    registryListener_.remove();
    coreListener_.remove();
    registry_.reset();
    core_.reset();
    retry_.fireAfter(retryTime);
}

void PipewireSession::addObject(std::uint32_t id, const char* type, const spa_dict* properties) {
    const auto kind = kindOf(type);
    if (!kind) return;
    const PipewireObject& object = objects_[id] = objectOf(id, *kind, properties);
    tell([&](PipewireObserver& observer) { observer.pipewireObjectCame(object); });
}

void PipewireSession::removeObject(std::uint32_t id) {
    const auto gone = objects_.extract(id);
    if (gone) tell([&](PipewireObserver& observer) { observer.pipewireObjectWent(gone.mapped()); });
}

void PipewireSession::addObserver(PipewireObserver* observer) {
    observers_.push_back(observer);
    for (const auto& [id, object] : objects_)
        observer->pipewireObjectCame(object);
    if (state_ == State::listed) observer->pipewireCame();
}

void PipewireSession::removeObserver(PipewireObserver* observer) {
    std::erase(observers_, observer);
}

// An observer may add and remove observers, itself included, while it is told.
template <typename Call>
void PipewireSession::tell(const Call& call) {
    for (PipewireObserver* observer : std::vector(observers_))
        if (std::ranges::find(observers_, observer) != observers_.end()) call(*observer);
}

} // namespace tavelo
