// SPDX-License-Identifier: MIT
#include "watch/watched_camera.h"

#include <algorithm>
#include <utility>

namespace tavelo {
namespace {

// Gives a write on another thread time to end.
constexpr std::chrono::milliseconds pauseAfterWrite{100};

} // namespace

template <typename F>
void WatchedCamera::later(std::chrono::milliseconds time, F function) {
    clock_.callAfter(time, [alive = std::weak_ptr<const bool>(alive_), function = std::move(function)] {
        if (!alive.expired()) function();
    });
}

WatchedCamera::WatchedCamera(std::shared_ptr<CaptureDevice> device, const WatchedCameraParts& parts,
                             WatchedCameraEvents events)
    : device_(std::move(device)),
      mainQueue_(parts.mainQueue),
      clock_(parts.clock),
      events_(std::move(events)),
      manager_(KTUVCEnvironment{.usb = parts.usb}) {
    bindSoon();
}

WatchedCamera::~WatchedCamera() {
    watch_.reset();
    manager_.letGoOfInterface(); // closes it now: a push may still hold it
}

void WatchedCamera::endWriting() {
    isWritten_ = false;
    followInterface();
}

void WatchedCamera::letGo() {
    isWritten_ = false;
    watch_.reset();
    manager_.letGoOfInterface();
    isBound_ = false;
}

void WatchedCamera::takeUp() {
    if (!isBound_ && !triesAgain_) bindSoon();
}

void WatchedCamera::bindSoon() {
    mainQueue_.post([this, alive = std::weak_ptr<const bool>(alive_)] {
        if (!alive.expired() && !isBound_) bind();
    });
}

WatchedCamera::Values WatchedCamera::values() const {
    Values values{};
    for (const ControlRow& row : controlTable()) {
        if (const auto& record = manager_.record(row.control)) values[indexOf(row.control)] = record->val();
    }
    return values;
}

void WatchedCamera::bind() {
    if (isBound_) known_ = values();
    watch_.reset();
    follows_ = false;
    // A new prober knows of a camera that has just been plugged in.
    manager_.initProberWithBusProberScopeProberDelegate(2, nullptr);
    isBound_ = manager_.refreshDataWithUniqueIDString(device_->uniqueID()) && manager_.isControllable() &&
               manager_.recordsAreRead();
    manager_.setProber(nullptr);
    if (!isBound_) return tryAgain();
    pause_ = firstPause;
    followInterface();
    const auto before = std::exchange(known_, std::nullopt);
    if (before) return reportSince(*before);
    if (events_.bound) events_.bound();
}

void WatchedCamera::reportSince(const Values& before) {
    for (const ControlRow& row : controlTable()) {
        const std::int64_t value = before[indexOf(row.control)];
        if (!manager_.controlSupported(row.control) || manager_.record(row.control)->val() == value) continue;
        if (events_.changed) events_.changed(row.control, value);
    }
}

void WatchedCamera::tryAgain() {
    if (std::exchange(triesAgain_, true)) return;
    later(pause_, [this] {
        triesAgain_ = false;
        if (isWritten_) return; // endWriting() sees what is to be done
        pause_ = std::min(2 * pause_, longestPause);
        bind();
    });
}

void WatchedCamera::followInterface() {
    if (!isBound_ || isWritten_) return;
    // Opening it again sends nothing, so a refusal costs no time.
    if (manager_.failure() == ErrorCode::refused) manager_.openInterfaceAgain();
    const std::shared_ptr<UsbInterface> interface = manager_.interface();
    if (!interface || manager_.interfaceIsClosed()) return tryAgain();
    if (interface == followed_.lock()) return;
    followed_ = interface;
    watch(*interface);
    if (std::exchange(follows_, true)) readAll();
}

void WatchedCamera::watch(UsbInterface& interface) {
    const std::weak_ptr<const bool> alive(alive_);
    ControlWatchEvents events;
    events.changed = [this, alive](const ChangedControl& change) {
        const auto control = controlAt(change.control);
        if (!control) return;
        mainQueue_.post([this, alive, control = *control] {
            if (!alive.expired()) read(control);
        });
    };
    events.ended = [this, alive] {
        mainQueue_.post([this, alive] {
            if (!alive.expired()) followInterface();
        });
    };
    watch_.reset();
    watch_ = interface.watchControls(events);
    if (!watch_ && !std::exchange(polls_, true)) later(pollInterval, [this] { poll(); });
}

void WatchedCamera::poll() {
    polls_ = isBound_ && !watch_;
    if (!polls_) return;
    later(pollInterval, [this] { poll(); });
    readAll();
}

void WatchedCamera::readAll() {
    for (const ControlRow& row : controlTable())
        if (manager_.controlSupported(row.control)) read(row.control);
}

void WatchedCamera::read(KTUVCControl control) {
    if (!isBound_ || manager_.interfaceIsClosed() || !manager_.record(control)) return;
    const std::int64_t before = manager_.record(control)->val();
    const ControlRefresh result = manager_.refreshControl(control);
    if (manager_.interfaceIsClosed()) return tryAgain();
    if (result == ControlRefresh::overtaken) later(pauseAfterWrite, [this, control] { read(control); });
    if (result == ControlRefresh::changed && events_.changed) events_.changed(control, before);
}

} // namespace tavelo
