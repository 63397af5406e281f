// SPDX-License-Identifier: MIT
#include "panel/control_follower.h"

#include <atomic>
#include <chrono>
#include <utility>

namespace tavelo {
namespace {

using namespace std::chrono_literals;

// Gives a write on another thread time to end.
constexpr auto pauseAfterWrite = 100ms;
// How soon an interface that somebody else opened again is noticed.  Looking sends nothing.
constexpr auto retryTime = 250ms;

} // namespace

/// What other threads use of one binding.
struct ControlFollower::Binding {
    explicit Binding(KTUVCManager& manager) : changes(manager) {}

    const ReportedChanges changes;
    std::atomic<bool> isOver = false;
    std::atomic<bool> isRead = false; // all of it, by the queue
};

ControlFollower::ControlFollower(KTUVCManager& manager) : manager_(manager) {
    readTimer_.setSingleShot(true);
    readTimer_.setInterval(pauseAfterWrite);
    connect(&readTimer_, &QTimer::timeout, this, &ControlFollower::readOvertaken);
    retryTimer_.setSingleShot(true);
    retryTimer_.setInterval(retryTime);
    connect(&retryTimer_, &QTimer::timeout, this, &ControlFollower::followInterface);
}

ControlFollower::~ControlFollower() {
    stop();
}

void ControlFollower::stop() {
    readTimer_.stop();
    retryTimer_.stop();
    overtaken_.reset();
    followed_.reset();
    isStarting_ = false;
    catchesUpLater_ = false;
    tellsChanges_ = false;
    missedChanges_ = false;
    if (!binding_) return;
    binding_->isOver = true;
    binding_.reset();
    queue_.async([this] { watch_.reset(); }); // may wait for the watch's own reading
}

void ControlFollower::followInterface() {
    retryTimer_.stop();
    if (!manager_.isControllable() || !manager_.recordsAreRead()) return stop();
    if (binding_ && binding_->changes.identity() != manager_.bindingIdentity()) stop();
    if (manager_.failure() == ErrorCode::refused) manager_.openInterfaceAgain();
    const std::shared_ptr<UsbInterface> interface = manager_.interface();
    if (!interface || manager_.interfaceIsClosed()) {
        missedChanges_ = true;
        retryTimer_.start();
    } else if (interface != followed_.lock()) {
        watch(interface);
    }
}

void ControlFollower::watch(const std::shared_ptr<UsbInterface>& interface) {
    missedChanges_ = missedChanges_ || binding_ != nullptr;
    if (!binding_) binding_ = std::make_shared<Binding>(manager_);
    followed_ = interface;
    isStarting_ = true;
    ControlWatchEvents events;
    events.changed = [this, binding = binding_](const ChangedControl& change) {
        const auto control = controlAt(change.control);
        if (control && !binding->isOver) tell(*binding, *control, binding->changes.take(*control, change));
    };
    events.ended = [this] {
        QMetaObject::invokeMethod(this, &ControlFollower::followInterface, Qt::QueuedConnection);
    };
    // Starting it may have to wait for a request of another program.
    queue_.async([this, interface, events, binding = binding_] {
        if (binding->isOver) return;
        watch_ = interface->watchControls(events);
        const bool tells = watch_ != nullptr;
        QMetaObject::invokeMethod(
            this, [this, binding, tells] { watchHasStarted(binding, tells); }, Qt::QueuedConnection);
    });
}

void ControlFollower::watchHasStarted(const std::shared_ptr<const Binding>& binding, bool tells) {
    if (binding != binding_) return;
    isStarting_ = false;
    tellsChanges_ = tells;
    // A request that failed before the watch began: there is no watch to tell its end.
    if (!tells && manager_.interfaceIsClosed()) followInterface();
    if (std::exchange(catchesUpLater_, false)) catchUp();
}

// On the watch's thread or the queue's.
void ControlFollower::tell(const Binding& binding, KTUVCControl control, ControlRefresh result) {
    if (result != ControlRefresh::changed && result != ControlRefresh::overtaken) return;
    QMetaObject::invokeMethod(
        this,
        [this, identity = binding.changes.identity(), control, result] {
            if (manager_.bindingIdentity() != identity || !binding_) return;
            if (result == ControlRefresh::changed) {
                Q_EMIT changed(control);
            } else {
                overtaken_.set(indexOf(control));
                readTimer_.start();
            }
        },
        Qt::QueuedConnection);
}

void ControlFollower::readOvertaken() {
    const auto controls = std::exchange(overtaken_, {});
    queue_.async([this, binding = binding_, controls] {
        for (const ControlRow& row : controlTable())
            if (controls.test(indexOf(row.control))) readControl(*binding, row.control);
    });
}

void ControlFollower::readControl(const Binding& binding, KTUVCControl control) {
    if (!binding.isOver) tell(binding, control, binding.changes.read(control));
}

void ControlFollower::catchUp() {
    catchesUpLater_ = isStarting_;
    if (isStarting_ || !binding_ || (tellsChanges_ && !missedChanges_) || binding_->isRead) return;
    missedChanges_ = false;
    binding_->isRead = true;
    queue_.async([this, binding = binding_] {
        readAll(*binding);
        binding->isRead = false;
    });
}

// A camera that fails is left alone: its interface is closed then, and reading sends nothing any more.
void ControlFollower::readAll(const Binding& binding) {
    for (const ControlRow& row : controlTable())
        readControl(binding, row.control);
}

} // namespace tavelo
