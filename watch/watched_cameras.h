// SPDX-License-Identifier: MIT
// All cameras that are watched, while they come and go.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "platform/backend.h"
#include "platform/clock.h"
#include "watch/watched_camera.h"

namespace tavelo {

enum class Arrival : std::uint8_t {
    there, ///< it was plugged in before the watching began
    came,
};

/// Called on the main thread, not after the WatchedCameras are destroyed; they must not destroy them.
struct WatchedCamerasEvents {
    /// Before any other event of this camera.
    std::function<void(WatchedCamera& camera, Arrival arrival)> came;
    /// The camera is destroyed afterwards.
    std::function<void(WatchedCamera& camera)> went;
    std::function<void(WatchedCamera& camera)> bound;
    std::function<void(WatchedCamera& camera, KTUVCControl control, std::int64_t before)> changed;
};

/// What is watched, and with what.  The references must outlive the WatchedCameras.
struct WatchedCamerasParts {
    Backend& backend;
    MainQueue& mainQueue;
    Clock& clock;
    /// Whether to watch a camera; empty for all.
    std::function<bool(const CaptureDevice& device)> isChosen = {};
};

/// Begins when it is made.  Main thread.
class WatchedCameras final : private CaptureDeviceObserver {
public:
    WatchedCameras(const WatchedCamerasParts& parts, WatchedCamerasEvents events);
    ~WatchedCameras() override;

    WatchedCameras(const WatchedCameras&) = delete;
    WatchedCameras& operator=(const WatchedCameras&) = delete;

private:
    void captureDeviceWasConnected(const std::shared_ptr<CaptureDevice>& device) override;
    void captureDeviceWasDisconnected(const std::shared_ptr<CaptureDevice>& device) override;
    void add(const std::shared_ptr<CaptureDevice>& device, Arrival arrival);

    const WatchedCamerasParts parts_;
    const WatchedCamerasEvents events_;
    std::vector<std::unique_ptr<WatchedCamera>> cameras_;
};

} // namespace tavelo
