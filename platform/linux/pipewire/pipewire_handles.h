// SPDX-License-Identifier: MIT
// Owners of what libpipewire makes.
#pragma once

#include <pipewire/pipewire.h>

#include <chrono>
#include <cstdint>
#include <memory>

namespace tavelo {

/// The library's own state; reference-counted by the library.
class PipewireLibrary {
public:
    /// Silences the library, unless the user has set its variable PIPEWIRE_DEBUG.
    PipewireLibrary();
    ~PipewireLibrary();
    PipewireLibrary(const PipewireLibrary&) = delete;
    PipewireLibrary& operator=(const PipewireLibrary&) = delete;
};

struct DestroyPipewire {
    void operator()(pw_thread_loop* loop) const { pw_thread_loop_destroy(loop); }
    void operator()(pw_context* context) const { pw_context_destroy(context); }
    void operator()(pw_core* core) const { pw_core_disconnect(core); }
    void operator()(pw_stream* stream) const { pw_stream_destroy(stream); }
    void operator()(pw_proxy* proxy) const { pw_proxy_destroy(proxy); }
    void operator()(pw_properties* properties) const { pw_properties_free(properties); }
};

/// All but the loop are destroyed with the loop's lock held, or on its thread.
template <typename Object>
using PipewirePtr = std::unique_ptr<Object, DestroyPipewire>;

/// Keeps the loop's thread from calling anything.  Recursive; callbacks on that thread hold it already.
class PipewireLock {
public:
    explicit PipewireLock(pw_thread_loop* loop) : loop_(loop) { pw_thread_loop_lock(loop_); }
    ~PipewireLock() { pw_thread_loop_unlock(loop_); }
    PipewireLock(const PipewireLock&) = delete;
    PipewireLock& operator=(const PipewireLock&) = delete;

private:
    pw_thread_loop* const loop_;
};

/// A registered listener.  Destroyed with the loop's lock held, before what it listens to.
class PipewireListener {
public:
    PipewireListener() = default;
    ~PipewireListener() { remove(); }
    PipewireListener(const PipewireListener&) = delete;
    PipewireListener& operator=(const PipewireListener&) = delete;

    void listen(pw_core* core, const pw_core_events& events, void* data);
    void listen(pw_registry* registry, const pw_registry_events& events, void* data);
    void listen(pw_node* node, const pw_node_events& events, void* data);
    void listen(pw_device* device, const pw_device_events& events, void* data);
    void listen(pw_stream* stream, const pw_stream_events& events, void* data);
    void remove();

private:
    spa_hook* fresh();

    spa_hook hook_{};
    bool listens_ = false;
};

/// A source of a loop's events.  Destroyed with the loop's lock held, or after its thread has ended.
class PipewireSource {
public:
    PipewireSource() = default;
    PipewireSource(pw_loop* loop, spa_source* source) : loop_(loop), source_(source) {}
    ~PipewireSource();
    PipewireSource(PipewireSource&& other) noexcept;
    PipewireSource& operator=(PipewireSource&& other) noexcept;

    /// Calls `callback(data, 1)` on the loop's thread after each signal().
    static PipewireSource event(pw_loop* loop, spa_source_event_func_t callback, void* data);
    static PipewireSource timer(pw_loop* loop, spa_source_timer_func_t callback, void* data);

    /// Of an event.  Any thread.
    void signal();
    /// Of a timer: once, after this time; nothing stops it.
    void fireAfter(std::chrono::nanoseconds time);

private:
    pw_loop* loop_ = nullptr;
    spa_source* source_ = nullptr;
};

/// Asks for the event `done` after all requests so far.
/// @return its number
int syncPipewire(pw_core* core);

/// @param type PW_TYPE_INTERFACE_...
PipewirePtr<pw_proxy> bindPipewire(pw_registry* registry, std::uint32_t id, const char* type,
                                   std::uint32_t version);

/// All parameters of a kind, which come as events.
void askForParams(pw_node* node, std::uint32_t kind);

} // namespace tavelo
