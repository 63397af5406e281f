// SPDX-License-Identifier: MIT
// One camera whose controls are watched.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "platform/capture.h"
#include "platform/clock.h"
#include "platform/main_queue.h"
#include "platform/usb_platform.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {

/// Called on the main thread, never within the constructor, not after the camera object is destroyed; they
/// must not destroy it themselves.
struct WatchedCameraEvents {
    /// Its controls were read, for the first time or after takeUp().
    std::function<void()> bound;
    /// A control has another value, which neither this object's owner wrote nor its record held: now it does.
    std::function<void(KTUVCControl control, std::int64_t before)> changed;
};

/// Where a watched camera comes from.  All must outlive it.
struct WatchedCameraParts {
    UsbPlatform* usb = nullptr;
    MainQueue& mainQueue;
    Clock& clock;
};

/// Binds a camera, keeps it bound, and takes the changes of others into its records.
///
/// A camera that cannot be bound, or does not answer any more, is bound again after a second, then after two,
/// four, at most ten.  If its transport does not tell of changes, the controls that no
/// automatic one rules are read every two seconds.  Main thread; calls block while the camera answers.
class WatchedCamera {
public:
    static constexpr std::chrono::seconds pollInterval{2};
    static constexpr std::chrono::seconds firstPause{1};
    static constexpr std::chrono::seconds longestPause{10};

    WatchedCamera(std::shared_ptr<CaptureDevice> device, const WatchedCameraParts& parts,
                  WatchedCameraEvents events);
    ~WatchedCamera();

    WatchedCamera(const WatchedCamera&) = delete;
    WatchedCamera& operator=(const WatchedCamera&) = delete;

    const CaptureDevice& device() const { return *device_; }
    /// For reading records and for writing; its own writes are not reported.
    KTUVCManager& manager() { return manager_; }
    /// Whether its records can be trusted.
    bool isBound() const { return isBound_; }

    /// Call these around writing.  A failed write closes the interface, and whoever writes may open another
    /// one meanwhile: the camera is not bound again until the end, and the interface of then is watched. What
    /// changed in between is reported.
    void beginWriting() { isWritten_ = true; }
    void endWriting();

    /// Closes the camera until takeUp(): one that is open does not sleep.  Nothing is reported meanwhile.
    void letGo();
    /// Binds it again a moment later, unless that is under way.
    void takeUp();

private:
    template <typename F>
    void later(std::chrono::milliseconds time, F function);
    using Values = std::array<std::int64_t, controlCount>;

    Values values() const;
    void followInterface();
    void bindSoon();
    void bind();
    void tryAgain();
    void watch(UsbInterface& interface);
    void reportSince(const Values& before);
    void poll();
    void readAll();
    void read(KTUVCControl control);

    const std::shared_ptr<CaptureDevice> device_;
    MainQueue& mainQueue_;
    Clock& clock_;
    const WatchedCameraEvents events_;
    KTUVCManager manager_;
    bool isBound_ = false;
    bool isWritten_ = false;
    std::optional<Values> known_; // before the records were read again
    bool triesAgain_ = false;
    bool polls_ = false;
    std::chrono::seconds pause_ = firstPause;
    std::weak_ptr<UsbInterface> followed_;
    bool follows_ = false;
    const std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true); // for late calls

    std::unique_ptr<ControlWatch> watch_; // last: its thread posts calls of this object
};

} // namespace tavelo
