// SPDX-License-Identifier: MIT
// The known capture devices, and notification of their observers.
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

#include "platform/capture.h"

namespace tavelo {

/// Compares a scan with the known devices and notifies observers of the difference.  Thread-bound to the
/// main thread.
template <typename Device>
class CaptureDeviceBook {
public:
    /// Removes the devices that are gone, then appends the new ones.
    /// @param isSame whether a device is the one that was found
    template <typename Found>
    void apply(const std::vector<Found>& found,
               const std::function<bool(const Device& device, const Found& found)>& isSame,
               const std::function<std::shared_ptr<Device>(const Found& found)>& make) {
        const auto isMissing = [&](const std::shared_ptr<Device>& device) {
            return std::ranges::none_of(found, [&](const Found& one) { return isSame(*device, one); });
        };
        for (auto gone = std::ranges::find_if(devices_, isMissing); gone != devices_.end();
             gone = std::ranges::find_if(devices_, isMissing)) {
            const std::shared_ptr<Device> device = *gone;
            devices_.erase(gone);
            tell(&CaptureDeviceObserver::captureDeviceWasDisconnected, device);
        }
        for (const Found& one : found) {
            const bool known =
                std::ranges::any_of(devices_, [&](const auto& device) { return isSame(*device, one); });
            if (known) continue;
            devices_.push_back(make(one));
            tell(&CaptureDeviceObserver::captureDeviceWasConnected, devices_.back());
        }
    }

    std::vector<std::shared_ptr<CaptureDevice>> devices() const { return {devices_.begin(), devices_.end()}; }

    void add(CaptureDeviceObserver* observer) { observers_.push_back(observer); }
    void remove(CaptureDeviceObserver* observer) { std::erase(observers_, observer); }

private:
    // An observer may add and remove observers, itself included, while it is notified.
    void tell(void (CaptureDeviceObserver::*what)(const std::shared_ptr<CaptureDevice>&),
              const std::shared_ptr<CaptureDevice>& device) {
        for (CaptureDeviceObserver* observer : std::vector(observers_)) {
            if (std::ranges::find(observers_, observer) != observers_.end()) (observer->*what)(device);
        }
    }

    std::vector<std::shared_ptr<Device>> devices_;
    std::vector<CaptureDeviceObserver*> observers_;
};

} // namespace tavelo
