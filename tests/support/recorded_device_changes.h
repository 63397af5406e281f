// SPDX-License-Identifier: MIT
// Records which capture devices come and go.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/capture.h"

namespace tavelo::testing {

/// Belongs to the main thread, like all observers.
class RecordedDeviceChanges final : public CaptureDeviceObserver {
public:
    void captureDeviceWasConnected(const std::shared_ptr<CaptureDevice>& device) override {
        record('+', *device);
    }
    void captureDeviceWasDisconnected(const std::shared_ptr<CaptureDevice>& device) override {
        lastDisconnected_ = device;
        record('-', *device);
    }

    /// Names of devices after "+" for an arrival and "-" for a removal, in order.
    const std::vector<std::string>& names() const { return names_; }
    /// The same with unique IDs.
    const std::vector<std::string>& uniqueIDs() const { return uniqueIDs_; }
    std::shared_ptr<CaptureDevice> lastDisconnected() const { return lastDisconnected_; }

    /// Called after each change is recorded.
    std::function<void()> onChange;

private:
    void record(char sign, const CaptureDevice& device) {
        names_.push_back(sign + device.localizedName());
        uniqueIDs_.push_back(sign + device.uniqueID());
        if (onChange) onChange();
    }

    std::vector<std::string> names_;
    std::vector<std::string> uniqueIDs_;
    std::shared_ptr<CaptureDevice> lastDisconnected_;
};

} // namespace tavelo::testing
