// SPDX-License-Identifier: MIT
// The controls of an open video node, one V4L2 call each.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "platform/camera_inspector.h"
#include "platform/linux/v4l2/v4l2_node.h"

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

/// Null with the errno if it fails; ENOTTY for a node that does not capture pictures: the metadata node of
/// the same camera has no working controls.
std::unique_ptr<V4l2Node> openForControls(V4l2NodeOpener& opener, const std::string& path, int& error);

// Each returns 0 or an errno, and may block for seconds if the camera does not answer.

/// EINVAL: the driver has no such control.
int queryControl(V4l2Node& node, std::uint32_t id, V4l2ControlInfo& info);

/// The same with the control's name.
int describeControl(V4l2Node& node, std::uint32_t id, DriverControl& control);

/// EINVAL: the menu has no such entry.
int queryMenu(V4l2Node& node, std::uint32_t id, std::uint32_t index);

/// Reads all values in one call.
int getControls(V4l2Node& node, std::span<V4l2ControlValue> values);

/// Writes all values in one call, so that the values of one camera control are sent together.  On success
/// `values` holds what was written: the driver rounds to a control's step.
int setControls(V4l2Node& node, std::span<V4l2ControlValue> values);

/// From now on a change of the control, its range or its flags is an event of this node: poll() reports
/// POLLPRI.  What this node writes is none, except for the flags of other controls that it changes.
int subscribeToControl(V4l2Node& node, std::uint32_t id);

/// Ends all subscriptions of this node and drops their events.
int unsubscribeFromControls(V4l2Node& node);

/// Takes the next event.  ENOENT: there is none.
/// @param id of the control; 0 if the event is about something else
int takeControlEvent(V4l2Node& node, std::uint32_t& id);

/// Asks an extension unit, past the V4L2 controls.  The driver asks the camera for exactly `data.size()`
/// bytes, or gives it these; ENOBUFS if it knows another length.  ENOENT: it has no such unit or the unit
/// does not list the selector.  EBADRQC: GET_INFO excludes the request.
/// @param request bRequest: a read (GET_...) or SET_CUR
int queryExtensionUnit(V4l2Node& node, std::uint8_t unit, std::uint8_t selector, std::uint8_t request,
                       std::span<std::uint8_t> data);

} // namespace tavelo
