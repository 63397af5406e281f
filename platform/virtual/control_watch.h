// SPDX-License-Identifier: MIT
// Tells what other hosts, or a virtual camera itself, change.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "platform/control_watch.h"
#include "platform/serial_queue.h"
#include "platform/virtual/firmware/virtual_camera_firmware.h"

namespace tavelo {

/// Reports on a thread of its own, "virtual events": the firmware cannot be asked during the calls of its
/// observers.
class VirtualControlWatch final : public ControlWatch, private FirmwareObserver {
public:
    /// How the interface reaches its watch, which may be gone.  Thread-safe.
    class Reach {
    public:
        bool finds() const;
        void end();

    private:
        friend class VirtualControlWatch;
        mutable std::mutex mutex_; // guards watch_
        VirtualControlWatch* watch_ = nullptr;
    };

    /// @param host whose writes are not reported
    VirtualControlWatch(std::shared_ptr<VirtualCameraFirmware> firmware, FirmwareHost host,
                        std::shared_ptr<Reach> reach, ControlWatchEvents events);
    ~VirtualControlWatch() override;

    VirtualControlWatch(const VirtualControlWatch&) = delete;
    VirtualControlWatch& operator=(const VirtualControlWatch&) = delete;

private:
    void requestAnswered(const RequestRecord& /*record*/) override {}
    void controlSet(const ChangedControl& change, FirmwareHost host) override;
    void vanished() override { end(); }
    void end();

    const std::shared_ptr<VirtualCameraFirmware> firmware_;
    const FirmwareHost host_;
    const std::shared_ptr<Reach> reach_;
    const ControlWatchEvents events_;
    std::atomic<bool> isDestroyed_ = false;
    std::atomic<bool> hasEnded_ = false;
    SerialQueue queue_; // last: its thread uses everything above
};

} // namespace tavelo
