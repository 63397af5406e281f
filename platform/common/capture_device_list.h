// SPDX-License-Identifier: MIT
// The cameras that are plugged in, and notification of their observers.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/capture.h"
#include "platform/main_queue.h"

namespace tavelo {

/// Whether a camera was there when the list was filled.
enum class CameraArrival : std::uint8_t { atStart, later };

/// Compares scans with the known devices and notifies observers of changes.
///
/// Scans for changes run on the thread that calls rescan(), since inspecting a new camera may take time; the
/// list itself belongs to the main thread.
/// @tparam Camera what a scan tells about a camera
template <typename Camera>
class CaptureDeviceList {
public:
    using IsSame = std::function<bool(const Camera& known, const Camera& found)>;
    /// Called on the main thread.
    using MakeDevice =
        std::function<std::shared_ptr<CaptureDevice>(const Camera& camera, CameraArrival arrival)>;
    /// Finds the cameras that are plugged in now; never two scans at once.
    using Scan = std::function<std::vector<Camera>()>;

    /// The queue must outlive the list.
    CaptureDeviceList(MainQueue& mainQueue, IsSame isSame, MakeDevice makeDevice)
        : mainQueue_(mainQueue),
          known_(std::make_shared<Known>(std::move(isSame), std::move(makeDevice))) {}

    /// Main thread: scans, and updates the list at once.
    void fill(const Scan& scan) { known_->update(number(scan), CameraArrival::atStart); }

    /// Thread-safe: scans for changes; the list and its observers are updated on the main thread.
    void rescan(const Scan& scan) {
        mainQueue_.post([known = std::weak_ptr(known_), found = number(scan)] {
            if (const auto alive = known.lock()) alive->update(found, CameraArrival::later);
        });
    }

    /// Main thread.  In order of arrival; those of one scan in its order.
    std::vector<std::shared_ptr<CaptureDevice>> devices() const {
        std::vector<std::shared_ptr<CaptureDevice>> devices;
        for (const Entry& entry : known_->entries)
            devices.push_back(entry.device);
        return devices;
    }
    void addObserver(CaptureDeviceObserver* observer) { known_->observers.push_back(observer); }
    void removeObserver(CaptureDeviceObserver* observer) { std::erase(known_->observers, observer); }

private:
    struct Entry {
        Camera camera;
        std::shared_ptr<CaptureDevice> device;
    };

    struct NumberedScan {
        std::uint64_t number = 0;
        std::vector<Camera> cameras;
    };

    /// Main thread only; a task that runs after the list has ended finds it gone.
    struct Known {
        Known(IsSame same, MakeDevice make) : isSame(std::move(same)), makeDevice(std::move(make)) {}

        /// Removes the devices that are gone, then appends the new ones.
        void update(const NumberedScan& scan, CameraArrival arrival) {
            if (scan.number <= applied) return; // a later scan came first
            applied = scan.number;
            const auto isMissing = [&](const Entry& entry) {
                return std::ranges::none_of(scan.cameras,
                                            [&](const Camera& found) { return isSame(entry.camera, found); });
            };
            for (auto gone = std::ranges::find_if(entries, isMissing); gone != entries.end();
                 gone = std::ranges::find_if(entries, isMissing)) {
                const std::shared_ptr<CaptureDevice> device = gone->device;
                entries.erase(gone);
                tell(&CaptureDeviceObserver::captureDeviceWasDisconnected, device);
            }
            for (const Camera& found : scan.cameras) {
                const bool isKnown = std::ranges::any_of(
                    entries, [&](const Entry& entry) { return isSame(entry.camera, found); });
                if (isKnown) continue;
                const std::shared_ptr<CaptureDevice> device = makeDevice(found, arrival);
                entries.push_back({found, device});
                tell(&CaptureDeviceObserver::captureDeviceWasConnected, device);
            }
        }

        // An observer may add and remove observers, itself included, while it is notified.
        void tell(void (CaptureDeviceObserver::*what)(const std::shared_ptr<CaptureDevice>&),
                  const std::shared_ptr<CaptureDevice>& device) {
            for (CaptureDeviceObserver* observer : std::vector(observers)) {
                if (std::ranges::find(observers, observer) != observers.end()) (observer->*what)(device);
            }
        }

        const IsSame isSame;
        const MakeDevice makeDevice;
        std::uint64_t applied = 0; // number of the last scan
        std::vector<Entry> entries;
        std::vector<CaptureDeviceObserver*> observers;
    };

    NumberedScan number(const Scan& scan) {
        const std::lock_guard lock(mutex_);
        return {++scans_, scan()};
    }

    MainQueue& mainQueue_;
    const std::shared_ptr<Known> known_;

    std::mutex mutex_; // guards scans_, and keeps scans apart
    std::uint64_t scans_ = 0;
};

} // namespace tavelo
