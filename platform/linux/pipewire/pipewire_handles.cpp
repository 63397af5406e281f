// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/pipewire_handles.h"

#include <cstdlib>
#include <utility>

// The library's methods are macros of C; they are called nowhere else.
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace tavelo {

PipewireLibrary::PipewireLibrary() {
    pw_init(nullptr, nullptr);
    if (std::getenv("PIPEWIRE_DEBUG") == nullptr) pw_log_set_level(SPA_LOG_LEVEL_NONE);
}

PipewireLibrary::~PipewireLibrary() {
    pw_deinit();
}

spa_hook* PipewireListener::fresh() {
    remove();
    hook_ = {};
    listens_ = true;
    return &hook_;
}

void PipewireListener::listen(pw_core* core, const pw_core_events& events, void* data) {
    pw_core_add_listener(core, fresh(), &events, data);
}

void PipewireListener::listen(pw_registry* registry, const pw_registry_events& events, void* data) {
    pw_registry_add_listener(registry, fresh(), &events, data);
}

void PipewireListener::listen(pw_node* node, const pw_node_events& events, void* data) {
    pw_node_add_listener(node, fresh(), &events, data);
}

void PipewireListener::listen(pw_device* device, const pw_device_events& events, void* data) {
    pw_device_add_listener(device, fresh(), &events, data);
}

void PipewireListener::listen(pw_stream* stream, const pw_stream_events& events, void* data) {
    pw_stream_add_listener(stream, fresh(), &events, data);
}

void PipewireListener::remove() {
    if (std::exchange(listens_, false)) spa_hook_remove(&hook_);
}

PipewireSource::~PipewireSource() {
    if (source_ != nullptr) pw_loop_destroy_source(loop_, source_);
}

PipewireSource::PipewireSource(PipewireSource&& other) noexcept
    : loop_(other.loop_),
      source_(std::exchange(other.source_, nullptr)) {}

PipewireSource& PipewireSource::operator=(PipewireSource&& other) noexcept {
    std::swap(loop_, other.loop_);
    std::swap(source_, other.source_);
    return *this;
}

PipewireSource PipewireSource::event(pw_loop* loop, spa_source_event_func_t callback, void* data) {
    return {loop, pw_loop_add_event(loop, callback, data)};
}

PipewireSource PipewireSource::timer(pw_loop* loop, spa_source_timer_func_t callback, void* data) {
    return {loop, pw_loop_add_timer(loop, callback, data)};
}

void PipewireSource::signal() {
    if (source_ != nullptr) pw_loop_signal_event(loop_, source_);
}

void PipewireSource::fireAfter(std::chrono::nanoseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    timespec first{};
    first.tv_sec = seconds.count();
    first.tv_nsec = (time - seconds).count();
    if (source_ != nullptr) pw_loop_update_timer(loop_, source_, &first, nullptr, false);
}

int syncPipewire(pw_core* core) {
    return pw_core_sync(core, PW_ID_CORE, 0);
}

PipewirePtr<pw_proxy> bindPipewire(pw_registry* registry, std::uint32_t id, const char* type,
                                   std::uint32_t version) {
    return PipewirePtr<pw_proxy>(static_cast<pw_proxy*>(pw_registry_bind(registry, id, type, version, 0)));
}

void askForParams(pw_node* node, std::uint32_t kind) {
    pw_node_enum_params(node, 0, kind, 0, UINT32_MAX, nullptr);
}

} // namespace tavelo
