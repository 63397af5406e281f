// SPDX-License-Identifier: MIT
// V4L2 controls in memory that follow the driver's rules and fail on request.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <vector>

#include "platform/linux/v4l2/v4l2_control_device.h"

namespace tavelo::test {

class FakeControlDevice final : public V4l2ControlDevice {
public:
    struct Control {
        V4l2ControlInfo info;
        std::int32_t value = 0;
        std::set<std::uint32_t> menu;
        // Errors to return; 0 for none.
        int queryError = 0;
        int menuError = 0;
        int getError = 0;
        int setError = 0;
    };

    /// Set up before use.
    std::map<std::uint32_t, Control> controls;

    /// The arguments of every call of set(), in order.
    std::vector<std::vector<V4l2ControlValue>> writes() const;

    int queryControl(std::uint32_t id, V4l2ControlInfo& info) override;
    int queryMenu(std::uint32_t id, std::uint32_t index) override;
    int get(std::span<V4l2ControlValue> values) override;
    int set(std::span<V4l2ControlValue> values) override;

private:
    mutable std::mutex mutex_; // guards values and writes_
    std::vector<std::vector<V4l2ControlValue>> writes_;
};

/// Every control mapped by the kernel, with typical ranges.
std::map<std::uint32_t, FakeControlDevice::Control> everyControl();

} // namespace tavelo::test
