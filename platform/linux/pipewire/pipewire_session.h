// SPDX-License-Identifier: MIT
// The connection to PipeWire's daemon, and what the daemon has.
#pragma once

#include <pipewire/pipewire.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/pipewire/module/pipewire_grant.h"
#include "platform/linux/pipewire/pipewire_handles.h"

namespace tavelo {

/// A node, a device or a link between nodes, with what the daemon tells everybody of it.
struct PipewireObject {
    enum class Kind : std::uint8_t { node, device, link };

    Kind kind = Kind::node;
    std::uint32_t id = 0;     ///< the daemon's number for it, used again after it is gone
    std::uint64_t serial = 0; ///< never used again while the daemon lives
    std::map<std::string, std::string, std::less<>> properties;

    /// Empty if it has none of this name.
    std::string property(const char* name) const;
};

/// Hears of the daemon's life.  Called on PipeWire's thread, or with its lock held on the thread that adds
/// the observer.  Must not wait.
class PipewireObserver {
public:
    virtual ~PipewireObserver() = default;

    virtual void pipewireObjectCame(const PipewireObject& object) noexcept { (void)object; }
    virtual void pipewireObjectWent(const PipewireObject& object) noexcept { (void)object; }
    /// The daemon has told all that it has; called again after it was away.
    virtual void pipewireCame() noexcept {}
    /// The connection is lost.  Before this returns, everything must be destroyed that was made with the
    /// core or the registry.  All objects are gone, without a call for each.
    virtual void pipewireWent() noexcept {}
    /// While the daemon is away: whether that is because we are refused has changed.
    virtual void pipewireRefusalChanged() noexcept {}
};

/// Connects to the daemon, and again whenever it has died.  It has a thread of its own, "pipewire", which
/// calls the observers, and one of the library's, "data-loop.0", which carries the pictures and sounds.
///
/// Thread-safe.  Destroyed on any thread but those two, when no observer is left.
class PipewireSession {
public:
    enum class State : std::uint8_t {
        away,    ///< there is no daemon, or it refuses us
        listing, ///< connected; what the daemon has is not complete yet
        listed,
    };

    /// Connects at once, which takes a few milliseconds.
    /// @param ask for the connection; empty: the daemon of this session
    /// @return null if the library cannot be used
    static std::shared_ptr<PipewireSession> open(AskForPipewire ask = {});
    ~PipewireSession();
    PipewireSession(const PipewireSession&) = delete;
    PipewireSession& operator=(const PipewireSession&) = delete;

    /// For everything below and all that is made with it, except in callbacks on PipeWire's thread.
    [[nodiscard]] PipewireLock lock() { return PipewireLock(loop_.get()); }

    // With the lock held.

    State state() const { return state_; }
    /// Away because the user does not allow the camera, or has not answered yet.
    bool isRefused() const { return refused_; }
    /// Null while the daemon is away.
    pw_core* core() const { return core_.get(); }
    pw_registry* registry() const;
    pw_loop* loop() const { return pw_thread_loop_get_loop(loop_.get()); }

    /// The observer hears of all that is there before this returns.
    void addObserver(PipewireObserver* observer);
    void removeObserver(PipewireObserver* observer);

private:
    explicit PipewireSession(AskForPipewire ask);
    bool start();
    void connect();
    void listen();
    void lose();
    void addObject(std::uint32_t id, const char* type, const spa_dict* properties);
    void removeObject(std::uint32_t id);
    template <typename Call>
    void tell(const Call& call);

    static const pw_core_events coreEvents;
    static const pw_registry_events registryEvents;

    // Destroyed from the last to the first.
    const PipewireLibrary library_;
    const AskForPipewire ask_;
    PipewirePtr<pw_thread_loop> loop_;
    PipewirePtr<pw_context> context_;
    PipewireSource lost_; // the core must not be destroyed in its own callback
    PipewireSource retry_;
    PipewirePtr<pw_core> core_;
    PipewirePtr<pw_proxy> registry_;
    PipewireListener coreListener_;
    PipewireListener registryListener_;

    // With the lock held.
    State state_ = State::away;
    bool refused_ = false;
    int listing_ = 0; // the sync whose answer ends the list
    std::map<std::uint32_t, PipewireObject> objects_;
    std::vector<PipewireObserver*> observers_;
};

} // namespace tavelo
