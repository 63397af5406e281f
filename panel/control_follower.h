// SPDX-License-Identifier: MIT
// Keeps the records of the shown camera true while others change its controls.
#pragma once

#include <QObject>
#include <QTimer>
#include <bitset>
#include <memory>

#include "platform/control_watch.h"
#include "platform/serial_queue.h"
#include "uvc/kt_uvc_manager.h"
#include "uvc/reported_changes.h"

namespace tavelo {

/// Follows the camera that a manager is bound to.
///
/// Reports are stored on the watch's own thread; whatever may have to wait for the camera happens on the
/// queue "kt.following".  The main thread never waits for a camera here.
///
/// A watch ends with its interface.  What a refusal closed is opened again, which sends nothing; after any
/// other failure the camera is left alone until somebody else opens the interface.  Thread-bound to the main
/// thread.
class ControlFollower final : public QObject {
    Q_OBJECT

public:
    /// @param manager must outlive the follower
    explicit ControlFollower(KTUVCManager& manager);
    /// Waits until the camera has answered a request of the follower.
    ~ControlFollower() override;

    /// Follows the manager's interface of now, if it has one.  Call it after a binding and after opening the
    /// interface again.
    void followInterface();
    /// Reads all values in the background if changes may have been missed: the transport does not tell them,
    /// or there was no open interface to tell them.  While a watch starts, waits for what it can tell.
    void catchUp();

Q_SIGNALS:
    /// A record of the bound camera has another value, which this program did not write.
    void changed(tavelo::KTUVCControl control);

private:
    struct Binding;

    void stop();
    void watch(const std::shared_ptr<UsbInterface>& interface);
    void watchHasStarted(const std::shared_ptr<const Binding>& binding, bool tells);
    void readControl(const Binding& binding, KTUVCControl control);
    void readAll(const Binding& binding);
    void readOvertaken();
    void tell(const Binding& binding, KTUVCControl control, ControlRefresh result);

    KTUVCManager& manager_;
    std::shared_ptr<Binding> binding_; // null if nothing is followed
    std::weak_ptr<UsbInterface> followed_;
    bool isStarting_ = false;             // the watch
    bool catchesUpLater_ = false;         // once the watch has started
    bool tellsChanges_ = false;           // the transport does
    bool missedChanges_ = false;          // perhaps, while no watch lived
    std::bitset<controlCount> overtaken_; // reports that came during a write
    QTimer readTimer_{this};
    QTimer retryTimer_{this};

    std::unique_ptr<ControlWatch> watch_; // used by the queue's tasks only
    SerialQueue queue_{"kt.following"};   // last: its tasks use everything above
};

} // namespace tavelo
