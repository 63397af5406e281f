// SPDX-License-Identifier: MIT
#include "platform/linux/v4l2/v4l2_controls.h"

#include <linux/uvcvideo.h>
#include <linux/videodev2.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <limits>
#include <vector>

#include "platform/linux/printable.h"

namespace tavelo {

namespace {

// One request for all values; on success `values` holds what the driver made of them.
int exchange(V4l2Node& node, unsigned long request, std::span<V4l2ControlValue> values) {
    std::vector<v4l2_ext_control> entries(values.size());
    std::ranges::transform(values, entries.begin(), [](const V4l2ControlValue& value) {
        v4l2_ext_control entry{};
        entry.id = value.id;
        entry.value = value.value;
        return entry;
    });
    v4l2_ext_controls list{};
    list.which = V4L2_CTRL_WHICH_CUR_VAL;
    list.count = static_cast<std::uint32_t>(entries.size());
    list.controls = entries.data();
    if (const int error = node.control(request, &list)) return error;
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i].value = entries[i].value;
    return 0;
}

} // namespace

std::unique_ptr<V4l2Node> openForControls(V4l2NodeOpener& opener, const std::string& path, int& error) {
    auto node = opener.open(path, error);
    if (!node) return nullptr;
    std::uint32_t capabilities = 0;
    error = queryCapabilities(*node, capabilities);
    if (error == 0 && (capabilities & (V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_CAPTURE_MPLANE)) == 0)
        error = ENOTTY;
    if (error != 0) return nullptr;
    return node;
}

int queryControl(V4l2Node& node, std::uint32_t id, V4l2ControlInfo& info) {
    v4l2_queryctrl query{};
    query.id = id;
    if (const int error = node.control(VIDIOC_QUERYCTRL, &query)) return error;
    info = {query.minimum, query.maximum, query.step, query.default_value, query.flags};
    return 0;
}

int describeControl(V4l2Node& node, std::uint32_t id, DriverControl& control) {
    v4l2_queryctrl query{};
    query.id = id;
    if (const int error = node.control(VIDIOC_QUERYCTRL, &query)) return error;
    const auto end = std::ranges::find(query.name, '\0');
    control = {id,
               printableAscii({std::begin(query.name), end}),
               query.minimum,
               query.maximum,
               query.step,
               query.default_value,
               query.flags};
    return 0;
}

int queryMenu(V4l2Node& node, std::uint32_t id, std::uint32_t index) {
    v4l2_querymenu query{};
    query.id = id;
    query.index = index;
    return node.control(VIDIOC_QUERYMENU, &query);
}

int getControls(V4l2Node& node, std::span<V4l2ControlValue> values) {
    return exchange(node, VIDIOC_G_EXT_CTRLS, values);
}

int setControls(V4l2Node& node, std::span<V4l2ControlValue> values) {
    return exchange(node, VIDIOC_S_EXT_CTRLS, values);
}

int subscribeToControl(V4l2Node& node, std::uint32_t id) {
    v4l2_event_subscription subscription{};
    subscription.type = V4L2_EVENT_CTRL;
    subscription.id = id;
    return node.control(VIDIOC_SUBSCRIBE_EVENT, &subscription);
}

int unsubscribeFromControls(V4l2Node& node) {
    v4l2_event_subscription subscription{};
    subscription.type = V4L2_EVENT_ALL;
    return node.control(VIDIOC_UNSUBSCRIBE_EVENT, &subscription);
}

int takeControlEvent(V4l2Node& node, std::uint32_t& id) {
    v4l2_event event{};
    if (const int error = node.control(VIDIOC_DQEVENT, &event)) return error;
    id = event.type == V4L2_EVENT_CTRL ? event.id : 0;
    return 0;
}

int queryExtensionUnit(V4l2Node& node, std::uint8_t unit, std::uint8_t selector, std::uint8_t request,
                       std::span<std::uint8_t> data) {
    if (data.size() > std::numeric_limits<std::uint16_t>::max()) return ENOBUFS;
    uvc_xu_control_query query{};
    query.unit = unit;
    query.selector = selector;
    query.query = request;
    query.size = static_cast<std::uint16_t>(data.size());
    query.data = data.data();
    return node.control(UVCIOC_CTRL_QUERY, &query);
}

} // namespace tavelo
