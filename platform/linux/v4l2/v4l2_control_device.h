// SPDX-License-Identifier: MIT
// The controls of an open video node, one V4L2 call each.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace tavelo {

/// A control as the driver describes it.
struct V4l2ControlInfo {
    std::int32_t minimum = 0;
    std::int32_t maximum = 0;
    std::int32_t step = 0;
    std::int32_t defaultValue = 0;
    std::uint32_t flags = 0; ///< V4L2_CTRL_FLAG_...
};

struct V4l2ControlValue {
    std::uint32_t id = 0;
    std::int32_t value = 0;

    friend bool operator==(const V4l2ControlValue&, const V4l2ControlValue&) = default;
};

/// Thread-safe.  Every call returns 0 or an errno, and may block for seconds if the camera does not answer.
class V4l2ControlDevice {
public:
    virtual ~V4l2ControlDevice() = default;

    /// EINVAL: the driver has no such control.
    virtual int queryControl(std::uint32_t id, V4l2ControlInfo& info) = 0;

    /// EINVAL: the menu has no such entry.
    virtual int queryMenu(std::uint32_t id, std::uint32_t index) = 0;

    /// Reads all values in one call.
    virtual int get(std::span<V4l2ControlValue> values) = 0;

    /// Writes all values in one call, so that the values of one camera control are sent together.  On
    /// success `values` holds what was written: the driver rounds to a control's step.
    virtual int set(std::span<V4l2ControlValue> values) = 0;
};

/// Thread-safe.
class V4l2ControlDeviceOpener {
public:
    virtual ~V4l2ControlDeviceOpener() = default;

    /// Null with the errno if it fails; ENOTTY for a node that does not capture pictures.
    virtual std::shared_ptr<V4l2ControlDevice> open(const std::string& path, int& error) = 0;
};

/// Opens real nodes.
std::unique_ptr<V4l2ControlDeviceOpener> makeControlDeviceOpener();

} // namespace tavelo
